#ifndef WKAGENT_AGENT_LDIF_READER_H
#define WKAGENT_AGENT_LDIF_READER_H

#include <string>
#include <string_view>
#include <vector>

#include "agent/line_splitter.h"

namespace wkagent {

// One line of a record: "name: value", with the value decoded. A line "-", which separates the
// changes of a modify record, has the name "-".
struct LdifLine {
  std::string_view name;
  std::string_view value;
  long number;
};

// One record: the change log's header comment without "# " (empty where there was none), then the
// lines from "dn" on. All views are valid during the call of OnRecord only.
struct LdifRecord {
  std::string_view header;
  std::vector<LdifLine> lines;
};

// Takes what an LdifReader finds.
class LdifHandler {
 public:
  virtual ~LdifHandler() = default;
  virtual void OnRecord(const LdifRecord& record) = 0;
  virtual void OnMalformed(long line, std::string_view reason) = 0;

  // Neither a record nor a header is open behind this byte and this line.
  virtual void OnBoundary(std::int64_t /*offset*/, long /*line*/) {}
};

// LdifReader cuts a change log in LDIF (RFC 2849) into records: it unfolds lines, decodes base64,
// and knows the two comments that OpenLDAP's auditlog overlay puts around each record, "# add TIME
// SUFFIX USER PEER conn=N" and "# end add TIME". A record that began with such a header and lacks
// the end has been cut off. What is no record is reported once and skipped, up to the next header,
// blank line, or, outside a record, "dn" line. Values of secret attributes are dropped as they are
// read.
class LdifReader {
 public:
  explicit LdifReader(LdifHandler& handler);

  // Begins at a boundary of the input, behind so many bytes and lines.
  void StartAt(std::int64_t offset, long line) { splitter_.StartAt(offset, line); }

  void Take(std::string_view block);
  void Finish();

 private:
  enum class State { kBetween, kInRecord, kSkippingGarbage, kSkippingRecord };

  // A line of the record as offsets into `text_`, which moves while it grows.
  struct Stored {
    std::size_t name;
    std::size_t nameSize;
    std::size_t value;
    std::size_t valueSize;
    long number;
  };

  void TakeLine(std::string_view line);
  void TakeComment(std::string_view line);
  void Append(std::string_view part);
  void EndLogicalLine();
  void StoreLine(std::size_t start, long number);
  [[nodiscard]] const char* StoreValue(Stored& line, std::size_t colon);
  void Dispatch();
  void EndRecord();
  void ReportUnusedHeader();
  void Fail(long line, std::string_view reason);
  void Clear();

  LdifHandler& handler_;
  LineSplitter splitter_;
  State state_ = State::kBetween;
  std::string header_;
  long headerLine_ = 0;  // 0: there is no header
  std::string text_;     // the record's lines, one after another
  std::vector<Stored> lines_;
  bool lineOpen_ = false;     // the last logical line may still be continued
  bool commentOpen_ = false;  // so may a comment
  bool headerOpen_ = false;   // that comment is the header
  std::size_t lineStart_ = 0;
  long lineNumber_ = 0;
  LdifRecord record_;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_LDIF_READER_H
