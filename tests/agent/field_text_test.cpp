#include "agent/field_text.h"

#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <libxml/chvalid.h>

#include "agent/base64.h"
#include "agent/unicode.h"
#include "support/random_seed.h"

namespace wkagent::test {
namespace {

// `text` in a field of `size` bytes, of which none outside may change.
std::string Field(std::string_view text, std::size_t size) {
  std::string room(size + 2, '#');
  CopyField(text, room.data() + 1, size);
  EXPECT_EQ('#', room.front());
  EXPECT_EQ('#', room.back());
  const std::size_t length = strnlen(room.data() + 1, size);
  EXPECT_LT(length, size) << "no terminator";
  return room.substr(1, length);
}

std::string InLargeField(std::string_view text) { return Field(text, 3 * text.size() + 1); }

// Pieces of a text, each with what a field shows of it.
using Pieces = std::vector<std::pair<std::string, std::string>>;

void ExpectCutAtEverySize(const Pieces& pieces) {
  std::string text;
  std::string whole;
  for (const auto& [given, shown] : pieces) {
    text += given;
    whole += shown;
  }
  for (std::size_t size = 1; size <= whole.size() + 2; ++size) {
    std::string expected;
    for (const auto& [given, shown] : pieces) {
      if (expected.size() + shown.size() >= size) break;
      expected += shown;
    }
    EXPECT_EQ(expected, Field(text, size)) << "in " << size << " bytes";
  }
}

Pieces Unchanged(const std::vector<std::string>& texts) {
  Pieces pieces;
  for (const std::string& text : texts) pieces.emplace_back(text, text);
  return pieces;
}

TEST(FieldText, KeepsWhatFits) {
  EXPECT_EQ("", Field("", 1));
  EXPECT_EQ("", Field("", 20));
  EXPECT_EQ("acme", Field("acme", 5));
  EXPECT_EQ("acme", Field("acme", 300));
}

TEST(FieldText, CutsLetters) {
  EXPECT_EQ("acm", Field("acme", 4));
  EXPECT_EQ("", Field("acme", 1));
}

TEST(FieldText, CutsBetweenCharactersOfEveryLengthAtEverySize) {
  ExpectCutAtEverySize(Unchanged({"a", "\u00E9", "\u20AC", "\U0001F600", "z", "\U0010FFFF",
                                  "\u0800", "\u07FF", "\u0080", "b"}));
}

TEST(FieldText, StopsAtTheFirstCharacterThatDoesNotFit) {
  EXPECT_EQ("ab", Field("ab\u20ACc", 4)) << "c alone would fit, but it does not follow";
}

TEST(FieldText, ReplacedCharactersAreCutAsWholes) {
  const std::string r = kReplacement;
  ExpectCutAtEverySize({{"a", "a"},
                        {"\x01", r},
                        {"\xFF", r},
                        {"\uFFFE", r},
                        {"b", "b"},
                        {"\x1B", r},
                        {"\u00E9", "\u00E9"},
                        {"\xC3", r}});
}

TEST(FieldText, SetFieldUsesTheWholeArray) {
  char field[5] = {};
  SetField(field, "abcdefgh");
  EXPECT_STREQ("abcd", field);
  SetField(field, "");
  EXPECT_STREQ("", field);
}

TEST(FieldText, ReplacesExactlyTheCharactersThatXmlForbids) {
  for (char32_t code = 0; code <= 0x10FFFF; ++code) {
    if (code >= 0xD800 && code <= 0xDFFF) continue;
    const std::string expected = xmlIsCharQ(code) ? Utf8(code) : kReplacement;
    if (InLargeField(Utf8(code)) != expected) {
      ADD_FAILURE() << "U+" << std::hex << static_cast<unsigned long>(code);
    }
  }
}

TEST(FieldText, ReplacesEveryByteOfASurrogate) {
  const std::string three = std::string(kReplacement) + kReplacement + kReplacement;
  for (char32_t code = 0xD800; code <= 0xDFFF; ++code) {
    ASSERT_EQ(three, InLargeField(Utf8(code))) << static_cast<unsigned long>(code);
  }
}

TEST(FieldText, ReplacesZeroBytes) {
  EXPECT_EQ(std::string("a") + kReplacement + "b", InLargeField(std::string_view("a\0b", 3)));
}

// Printable characters are copied many at once.
TEST(FieldText, EveryByteIsSeenAtEveryPlaceAmongPrintableOnes) {
  for (int value = 0; value < 256; ++value) {
    const char byte = static_cast<char>(value);
    const bool kept = (value >= 0x20 && value < 0x80) || value == 9 || value == 10 || value == 13;
    for (std::size_t place = 0; place < 17; ++place) {
      std::string text(17, 'a');
      text[place] = byte;
      std::string shown = text;
      if (!kept) shown.replace(place, 1, kReplacement);
      EXPECT_EQ(shown, InLargeField(text)) << value << " at " << place;
      EXPECT_EQ(value == 0 || value >= 0x80, IsBinary(text)) << value << " at " << place;
    }
  }
}

struct Invalid {
  const char* what;
  std::string bytes;
};

const Invalid kInvalid[] = {
    {"a continuation alone", "\x80"},
    {"the last continuation alone", "\xBF"},
    {"an overlong slash of two bytes", "\xC0\xAF"},
    {"the largest overlong form of two bytes", "\xC1\xBF"},
    {"an overlong form of three bytes", "\xE0\x80\xAF"},
    {"the largest overlong form of three bytes", "\xE0\x9F\xBF"},
    {"an overlong form of four bytes", "\xF0\x80\x80\xAF"},
    {"the largest overlong form of four bytes", "\xF0\x8F\xBF\xBF"},
    {"the first surrogate", "\xED\xA0\x80"},
    {"the last surrogate", "\xED\xBF\xBF"},
    {"a pair of surrogates", "\xED\xA0\xBD\xED\xB8\x80"},
    {"the first code beyond Unicode", "\xF4\x90\x80\x80"},
    {"a lead byte beyond Unicode", "\xF5\x80\x80\x80"},
    {"a form of five bytes", "\xF8\x88\x80\x80\x80"},
    {"a form of six bytes", "\xFC\x84\x80\x80\x80\x80"},
    {"FE", "\xFE"},
    {"FF", "\xFF"},
    {"two bytes, cut", "\xC3"},
    {"three bytes, cut after one", "\xE2"},
    {"three bytes, cut after two", "\xE2\x82"},
    {"four bytes, cut after one", "\xF0"},
    {"four bytes, cut after two", "\xF0\x9F"},
    {"four bytes, cut after three", "\xF0\x9F\x98"},
};

TEST(FieldText, ReplacesEveryByteOfInvalidForms) {
  for (const auto& [what, bytes] : kInvalid) {
    std::string expected = "a";
    for (std::size_t i = 0; i < bytes.size(); ++i) expected += kReplacement;
    EXPECT_EQ(expected + "z", InLargeField("a" + bytes + "z")) << what;
    EXPECT_EQ(expected, InLargeField("a" + bytes)) << what << " at the end";
  }
}

TEST(FieldText, KeepsTheCharacterThatInterruptsAnother) {
  EXPECT_EQ(std::string(kReplacement) + "\u00E9", InLargeField("\xE2\u00E9"));
  EXPECT_EQ(std::string(kReplacement) + kReplacement + "a", InLargeField("\xF0\x9F"
                                                                         "a"));
}

TEST(FieldText, WhateverBytesComeXmlCanCarryTheField) {
  std::mt19937 random(RandomSeed());
  for (int i = 0; i < 20000; ++i) {
    std::string text(random() % 20, '\0');
    for (char& byte : text) byte = static_cast<char>(random());
    const std::size_t size = 1 + random() % 30;
    ASSERT_TRUE(IsXmlText(Field(text, size))) << ::testing::PrintToString(text) << " in " << size;
  }
}

TEST(IsBinary, TextIsNone) {
  EXPECT_FALSE(IsBinary(""));
  EXPECT_FALSE(IsBinary("acme"));
  EXPECT_FALSE(IsBinary("J\u00FCrgen \u20AC \U0001F600"));
  EXPECT_FALSE(IsBinary("two\r\nlines\tand an escape \x1B"));
}

TEST(IsBinary, AZeroByteIs) {
  EXPECT_TRUE(IsBinary(std::string_view("\0", 1)));
  EXPECT_TRUE(IsBinary(std::string_view("abc\0", 4)));
}

TEST(IsBinary, InvalidUtf8IsWhereverItStands) {
  for (const auto& [what, bytes] : kInvalid) {
    EXPECT_TRUE(IsBinary(bytes)) << what;
    EXPECT_TRUE(IsBinary("text " + bytes)) << what;
    EXPECT_TRUE(IsBinary(bytes + " text")) << what;
  }
}

TEST(IsBinary, AgreesWithTheConverterOnAllPairsOfBytes) {
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      const std::string bytes{static_cast<char>(first), static_cast<char>(second)};
      const bool text = first != 0 && second != 0 && DecodeUtf8(bytes).has_value();
      ASSERT_EQ(!text, IsBinary(bytes)) << first << ' ' << second;
    }
  }
}

TEST(IsBinary, AgreesWithTheConverterOnAllLeadsOfThreeAndFourBytes) {
  const unsigned char kEdges[] = {0x01, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xFF};
  for (unsigned lead = 0xC0; lead < 256; ++lead) {
    for (const unsigned char second : kEdges) {
      for (const unsigned char third : kEdges) {
        for (const unsigned char fourth : kEdges) {
          const std::string bytes{static_cast<char>(lead), static_cast<char>(second),
                                  static_cast<char>(third), static_cast<char>(fourth)};
          ASSERT_EQ(!DecodeUtf8(bytes), IsBinary(bytes)) << ::testing::PrintToString(bytes);
        }
      }
    }
  }
}

std::string RandomBytes(std::size_t size, std::mt19937& random) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

// The decoded text, or "refused".
std::string Decoded(std::string text) {
  std::size_t size = text.size();
  if (!DecodeBase64(text.data(), size)) return "refused";
  EXPECT_LE(size, text.size());
  return text.substr(0, size);
}

const std::pair<std::string, std::string> kRfc4648[] = {
    {"", ""},
    {"f", "Zg=="},
    {"fo", "Zm8="},
    {"foo", "Zm9v"},
    {"foob", "Zm9vYg=="},
    {"fooba", "Zm9vYmE="},
    {"foobar", "Zm9vYmFy"},
};

TEST(Base64, EncodesAndDecodesTheExamplesOfItsStandard) {
  for (const auto& [bytes, text] : kRfc4648) {
    EXPECT_EQ(text, EncodeBase64(bytes, 100));
    EXPECT_EQ(bytes, Decoded(text));
  }
}

TEST(Base64, EncodesAsTheCLibraryForEveryLength) {
  std::mt19937 random(RandomSeed());
  for (std::size_t size = 0; size <= 100; ++size) {
    const std::string bytes = RandomBytes(size, random);
    EXPECT_EQ(Base64(bytes), EncodeBase64(bytes, 1000)) << size;
  }
}

TEST(Base64, DecodesWhatTheCLibraryEncodedForEveryLength) {
  std::mt19937 random(RandomSeed());
  for (std::size_t size = 0; size <= 100; ++size) {
    const std::string bytes = RandomBytes(size, random);
    EXPECT_EQ(bytes, Decoded(Base64(bytes))) << size;
  }
}

TEST(Base64, EncodesEveryByte) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string bytes(3, static_cast<char>(byte));
    ASSERT_EQ(Base64(bytes), EncodeBase64(bytes, 4));
    ASSERT_EQ(bytes, Decoded(EncodeBase64(bytes, 4)));
  }
}

TEST(Base64, EncodesNoMoreThanTheLongestText) {
  const std::string bytes = "foobar and more";
  const std::string whole = Base64(bytes);
  for (std::size_t longest = 0; longest <= whole.size() + 4; ++longest) {
    EXPECT_EQ(whole.substr(0, longest), EncodeBase64(bytes, longest)) << longest;
  }
}

TEST(Base64, RefusesWhatIsNone) {
  for (const char* const text : {"A",
                                 "AB",
                                 "ABC",
                                 "ABCDE",
                                 "=",
                                 "==",
                                 "===",
                                 "====",
                                 "A===",
                                 "AA=A",
                                 "A=AA",
                                 "=AAA",
                                 "AAA==",
                                 "AA==AA==",
                                 "AAAA====",
                                 "AA A",
                                 "AAAA ",
                                 "AAAA\n",
                                 "AA-_",
                                 "AA.A",
                                 "AA\x80"
                                 "A",
                                 "AA==AAAA"}) {
    EXPECT_EQ("refused", Decoded(text)) << text;
  }
  EXPECT_EQ("refused", Decoded(std::string("AAA\0", 4)));
}

TEST(Base64, AgreesWithTheCLibraryOnAllTextsOfFourFromASmallAlphabet) {
  const std::string alphabet = "AQgw=-";  // digits whose low bits are zero, and what is no digit
  for (std::size_t i = 0; i < 6 * 6 * 6 * 6; ++i) {
    const std::string text{alphabet[i % 6], alphabet[i / 6 % 6], alphabet[i / 36 % 6],
                           alphabet[i / 216]};
    ASSERT_EQ(FromBase64(text).value_or("refused"), Decoded(text)) << text;
  }
}

}  // namespace
}  // namespace wkagent::test
