#include "agent/ldif_reader.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "agent/ascii_case.h"
#include "agent/field_text.h"
#include "agent/secret_attributes.h"

namespace wkagent {
namespace {

constexpr std::size_t kLongestLine = std::size_t{1} << 26;
constexpr std::size_t kLargestRecord = std::size_t{1} << 28;
constexpr std::size_t kMostLines = std::size_t{1} << 22;  // short ones take more than their text
constexpr std::string_view kCutOff = "the record is cut off";
constexpr std::string_view kChanges[] = {"add", "delete", "modify", "modrdn", "moddn"};

// True for "add 1795207563 ..." and its like.
bool IsHeader(std::string_view comment) {
  const std::size_t blank = comment.find(' ');
  if (blank == std::string_view::npos || blank + 1 == comment.size()) return false;
  const bool known = std::find(std::begin(kChanges), std::end(kChanges),
                               comment.substr(0, blank)) != std::end(kChanges);
  return known && std::isdigit(static_cast<unsigned char>(comment[blank + 1])) != 0;
}

// What stands behind the "#" of a comment.
std::string_view CommentText(std::string_view line) {
  line.remove_prefix(1);
  if (line.starts_with(' ')) line.remove_prefix(1);
  return line;
}

bool IsEndMark(std::string_view line) {
  constexpr std::string_view kEnd = "# end ";
  return line.starts_with(kEnd) && IsHeader(line.substr(kEnd.size()));
}

// The characters of an attribute description (RFC 4512): letters, digits, hyphens, dots, and
// options after ";".
constexpr std::array<bool, 256> MakeNameCharacters() {
  std::array<bool, 256> fits{};
  for (unsigned char c = 0; c < 26; ++c) fits['A' + c] = fits['a' + c] = true;
  for (unsigned char c = 0; c < 10; ++c) fits['0' + c] = true;
  for (const char c : {'-', '.', ';', '_'}) fits[static_cast<unsigned char>(c)] = true;
  return fits;
}

constexpr std::array<bool, 256> kNameCharacters = MakeNameCharacters();

// The size of the attribute description that a line begins with, 0 where it is not "name:...".
std::size_t NameSize(std::string_view line) {
  std::size_t size = 0;
  while (size < line.size() && kNameCharacters[static_cast<unsigned char>(line[size])]) ++size;
  return size < line.size() && line[size] == ':' ? size : 0;
}

}  // namespace

LdifReader::LdifReader(LdifHandler& handler) : handler_(handler), splitter_(kLongestLine) {}

void LdifReader::Take(std::string_view block) {
  splitter_.Split(block, [this](std::string_view line) { TakeLine(line); });
}

void LdifReader::Finish() {
  splitter_.Finish([this](std::string_view line) {
    if (line.empty() || IsEndMark(line)) return TakeLine(line);
    // What lacks its line end has been cut off, and so has the record that it stands in.
    const bool plainComment = line.starts_with('#') && !IsHeader(CommentText(line));
    if (state_ == State::kInRecord || lineOpen_ || !plainComment) {
      EndLogicalLine();
      Fail(splitter_.Number(), kCutOff);
      headerLine_ = 0;
    }
  });
  EndRecord();
  ReportUnusedHeader();
  commentOpen_ = headerOpen_ = false;
}

void LdifReader::TakeLine(std::string_view line) {
  if (line.starts_with(' ') && (commentOpen_ || lineOpen_)) {
    if (lineOpen_) Append(line.substr(1));
    if (headerOpen_ && header_.size() < kLongestLine) header_ += line.substr(1);
    return;
  }
  EndLogicalLine();
  commentOpen_ = line.starts_with('#');
  headerOpen_ = false;
  if (line.empty()) {
    EndRecord();
    if (headerLine_ == 0) handler_.OnBoundary(splitter_.Offset(), splitter_.Number());
    return;
  }
  if (commentOpen_) return TakeComment(line);
  if (state_ == State::kSkippingRecord) return;
  if (state_ == State::kSkippingGarbage && !SameIgnoringCase(line.substr(0, 3), "dn:")) return;
  lineStart_ = text_.size();
  lineNumber_ = splitter_.Number();
  lineOpen_ = true;
  Append(line);
}

void LdifReader::Append(std::string_view part) {
  text_ += part;
  if (splitter_.IsTooLong(part) || text_.size() > kLargestRecord || lines_.size() >= kMostLines) {
    Fail(splitter_.Number(), "the record is too large");
  }
}

void LdifReader::TakeComment(std::string_view line) {
  if (IsEndMark(line)) {
    if (state_ == State::kInRecord) Dispatch();
    headerLine_ = 0;
    Clear();
    state_ = State::kBetween;
  } else if (IsHeader(CommentText(line))) {
    EndRecord();
    ReportUnusedHeader();
    header_ = CommentText(line);
    headerLine_ = splitter_.Number();
    headerOpen_ = true;
  }
}

void LdifReader::EndLogicalLine() {
  if (!lineOpen_) return;
  lineOpen_ = false;
  StoreLine(lineStart_, lineNumber_);
}

// Makes a line of the record of the text from `start` on.
void LdifReader::StoreLine(std::size_t start, long number) {
  const std::string_view text = std::string_view(text_).substr(start);
  if (state_ == State::kInRecord && text == "-") {
    lines_.push_back({start, 1, start + 1, 0, number});
    return;
  }
  const std::size_t colon = NameSize(text);
  if (colon == 0) return Fail(number, "not an LDIF line");
  Stored line{start, colon, 0, 0, number};
  const bool isName = SameIgnoringCase(text.substr(0, colon), "dn");
  if (state_ == State::kInRecord && isName) return Fail(number, "a second dn in one record");
  if (state_ != State::kInRecord && !isName) {
    if (SameIgnoringCase(text.substr(0, colon), "version")) return Clear();
    return Fail(number, "a record begins with dn");
  }
  if (const char* const error = StoreValue(line, start + colon); error != nullptr) {
    return Fail(number, error);
  }
  state_ = State::kInRecord;
  lines_.push_back(line);
}

// Decodes what stands behind the colon, in place. Returns what is wrong with it, or null.
const char* LdifReader::StoreValue(Stored& line, std::size_t colon) {
  line.value = colon + 1;
  const std::string_view name = std::string_view(text_).substr(line.name, line.nameSize);
  if (IsSecretAttribute(name)) {
    text_.resize(line.value);
    return nullptr;
  }
  const char kind = line.value < text_.size() ? text_[line.value] : '\0';
  if (kind == '<') return "values from files are not read";
  if (kind == ':') ++line.value;
  while (line.value < text_.size() && text_[line.value] == ' ') ++line.value;
  line.valueSize = text_.size() - line.value;
  if (kind == ':' && !DecodeBase64(text_.data() + line.value, line.valueSize)) {
    return "the value is no base64";
  }
  text_.resize(line.value + line.valueSize);
  return nullptr;
}

void LdifReader::Dispatch() {
  record_.header = headerLine_ == 0 ? std::string_view() : header_;
  record_.lines.clear();
  const std::string_view text(text_);
  for (const Stored& line : lines_) {
    record_.lines.push_back({text.substr(line.name, line.nameSize),
                             text.substr(line.value, line.valueSize), line.number});
  }
  handler_.OnRecord(record_);
}

// A record ends here without an end mark: at a blank line, a new header or the end of the input.
void LdifReader::EndRecord() {
  EndLogicalLine();
  if (state_ == State::kBetween) return;  // a header may be followed by blank lines
  if (state_ == State::kInRecord) {
    if (headerLine_ == 0) {
      Dispatch();
    } else {
      handler_.OnMalformed(headerLine_, kCutOff);
    }
  }
  headerLine_ = 0;
  Clear();
  state_ = State::kBetween;
}

void LdifReader::ReportUnusedHeader() {
  if (headerLine_ != 0) handler_.OnMalformed(headerLine_, kCutOff);
  headerLine_ = 0;
}

void LdifReader::Fail(long line, std::string_view reason) {
  const bool skipping = state_ == State::kSkippingGarbage || state_ == State::kSkippingRecord;
  if (!skipping) handler_.OnMalformed(line, reason);
  state_ = state_ == State::kInRecord ? State::kSkippingRecord : State::kSkippingGarbage;
  Clear();
}

void LdifReader::Clear() {
  text_.clear();
  lines_.clear();
  lineOpen_ = false;
}

}  // namespace wkagent
