// Escapes as libxml2 2.9 to 2.12 do in attributes: markup, quotes and the three blanks that a
// parser would change. Text beyond ASCII is left to libxml2 itself, which turns it into references.

#include "output/record_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <new>
#include <string>

#include <emmintrin.h>

#include "config/xml_library.h"

namespace wkagent {
namespace {

constexpr unsigned char kPlain = 0;
constexpr unsigned char kForeign = 1;  // beyond ASCII
constexpr std::string_view kEscapes[] = {"",       "",      "&#9;", "&#10;", "&#13;",
                                         "&quot;", "&amp;", "&lt;", "&gt;"};

// For each byte kPlain, kForeign or the place of its escape.
constexpr auto kKinds = [] {
  std::array<unsigned char, 256> kinds{};
  std::fill(kinds.begin() + 0x80, kinds.end(), kForeign);
  unsigned char kind = kForeign;
  for (const char c : std::string_view("\t\n\r\"&<>"))
    kinds[static_cast<unsigned char>(c)] = ++kind;
  return kinds;
}();

unsigned char KindOf(char c) { return kKinds[static_cast<unsigned char>(c)]; }

// The bytes of a block, a bit each, that are not surely plain.
unsigned Suspects(__m128i block) {
  const auto equals = [block](char c) { return _mm_cmpeq_epi8(block, _mm_set1_epi8(c)); };
  // Signed, so that what is beyond ASCII is found with the control characters.
  __m128i found = _mm_cmplt_epi8(block, _mm_set1_epi8(' '));
  for (const char c : {'"', '&', '<', '>'}) found = _mm_or_si128(found, equals(c));
  return static_cast<unsigned>(_mm_movemask_epi8(found));
}

// Copies up to the first byte that is not plain. Returns how many bytes.
std::size_t CopyPlain(const char* from, std::size_t length, char* to) {
  std::size_t done = 0;
  for (; length - done >= sizeof(__m128i); done += sizeof(__m128i)) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + done));
    if (Suspects(block) != 0) break;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + done), block);
  }
  while (done < length && KindOf(from[done]) == kPlain) {
    to[done] = from[done];
    ++done;
  }
  return done;
}

}  // namespace

void RecordText::Begin(std::string_view element) {
  end_ = buffer_.get();
  Add("    <");
  Add(element);
}

void RecordText::Attribute(std::string_view name, std::string_view value) {
  Add(" ");
  Add(name);
  Add("=\"");
  AddEscaped(value);
  Add("\"");
}

void RecordText::Number(std::string_view name, int value) {
  char text[16];
  const std::to_chars_result result = std::to_chars(std::begin(text), std::end(text), value);
  Attribute(name, {text, result.ptr});
}

void RecordText::AddEscaped(std::string_view value) {
  char* const start = end_;
  const char* from = value.data();
  const char* const to = from + value.size();
  while (from != to) {
    const std::size_t plain = CopyPlain(from, static_cast<std::size_t>(to - from), end_);
    from += plain;
    end_ += plain;
    if (from == to) return;
    const unsigned char kind = KindOf(*from++);
    if (kind == kForeign) {
      end_ = start;
      return AddByLibrary(value);
    }
    Add(kEscapes[kind]);
  }
}

void RecordText::AddByLibrary(std::string_view value) {
  xmlResetLastError();
  if (foreign_ == nullptr) foreign_.reset(xmlBufferCreate());
  if (foreign_ == nullptr) throw std::bad_alloc();
  xmlBufferEmpty(foreign_.get());
  const std::string terminated(value);
  xmlAttrSerializeTxtContent(foreign_.get(), nullptr, nullptr,
                             reinterpret_cast<const xmlChar*>(terminated.c_str()));
  if (RanOutOfMemory()) {
    foreign_.reset();  // it stays in error
    throw std::bad_alloc();
  }
  Add({reinterpret_cast<const char*>(xmlBufferContent(foreign_.get())),
       static_cast<std::size_t>(xmlBufferLength(foreign_.get()))});
}

}  // namespace wkagent
