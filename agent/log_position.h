#ifndef WKAGENT_AGENT_LOG_POSITION_H
#define WKAGENT_AGENT_LOG_POSITION_H

#include <deque>
#include <string>
#include <string_view>
#include <unordered_set>

namespace wkagent {

// How far an access log has been read. A change sequence number (CSN) alone does not tell: a server
// that works on several operations at once logs some of them after ones with a later CSN. So the
// position is a CSN some time back, up to which everything was read, and the identities of the
// entries that were read beyond it.
//
// As a text it is one line "wkagent log position 1", the log's name, the base CSN, and one line
// "CSN ID" for each entry beyond it.
class LogPosition {
 public:
  // An entry has been read. Its CSN begins with the time, "YYYYmmddHHMMSS"; neither text holds
  // blanks.
  void Add(std::string_view csn, std::string_view id);

  // True when the entry was added before, as far as the position reaches back.
  [[nodiscard]] bool Contains(std::string_view id) const;

  // All entries up to this CSN have been read; empty when nothing is known yet.
  [[nodiscard]] const std::string& Base() const { return base_; }

  [[nodiscard]] std::string ToText(std::string_view log) const;

  // Takes over a text that ToText made for the same log, and that may go on behind an empty line.
  // False, with an empty position, for any other text.
  [[nodiscard]] bool FromText(std::string_view text, std::string_view log);

 private:
  struct Entry {
    std::string csn;
    std::string id;
  };

  [[nodiscard]] bool ReadText(std::string_view text, std::string_view log);
  void DropOld();

  std::string base_;
  std::string newest_;
  std::deque<Entry> recent_;  // in the order of reading
  std::unordered_set<std::string> ids_;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_LOG_POSITION_H
