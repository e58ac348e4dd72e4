#include "agent/check/list_check.h"

#include "agent/check/entry_trail.h"
#include "agent/check/xml_element.h"

namespace wkagent {
namespace {

using std::to_string;

// Checks the entries of one list in their order.
class EntriesCheck {
 public:
  EntriesCheck(WKConfigFile& file, const ListRule& rule, CheckReport& report)
      : file_(file), rule_(rule), report_(report) {}

  void Visit(xmlNode* element) {
    const auto written = AttributeText(file_, element, "Name");
    const std::string stored = StoredName(rule_.form, written.value_or(""));
    const std::string quoted = Quoted(element);
    const long line = LineOf(element);
    if (endLine_ != 0) {
      return report_.Error(line, quoted + " is never looked for, since the entry of line " +
                                     to_string(endLine_) + " is too long and ends the list; " +
                                     "shorten that one");
    }
    if (stored.size() > EntryTrail::kLongestEntry) {
      endLine_ = line;
      return report_.Error(
          line, quoted + " has " + to_string(stored.size()) + " bytes, and one of more than " +
                    to_string(EntryTrail::kLongestEntry) + " ends the list; shorten it");
    }
    if (written) report_.Add(line, CheckName(Place(), rule_.form, rule_.longest, *written));
    const std::string& sought = trail_.Next(stored, line);
    if (sought.empty()) return report_.Error(line, quoted + MatchesAll());
    if (sought != stored) ReportRest(line, quoted, stored, sought);
  }

 private:
  [[nodiscard]] ValuePlace Place() const { return {rule_.entry, "Name"}; }

  // As the file has it, with the stars that the reader drops.
  [[nodiscard]] std::string Quoted(xmlNode* element) const {
    const auto written = WrittenAttribute(element, "Name");
    return written ? Quote(Place(), *written) : std::string(rule_.entry) + " without a Name";
  }

  [[nodiscard]] std::string MatchesAll() const {
    return std::string(" occurs in everything; write <") + rule_.group + " " + rule_.flag +
           "=\"1\"/>, or a name";
  }

  void ReportRest(long line, const std::string& quoted, const std::string& stored,
                  const std::string& sought) {
    const std::string longer = to_string(trail_.FirstLonger(stored.size()));
    report_.Error(line, quoted + " is looked for as " + Quote(sought) +
                            ", with the rest of a longer entry before it; " +
                            (stored.empty() ? "remove it" : "move it before line " + longer));
  }

  WKConfigFile& file_;
  const ListRule& rule_;
  CheckReport& report_;
  EntryTrail trail_;
  long endLine_ = 0;  // of the entry that ended the list
};

// How to cover everything, or something.
std::string Advice(const ListRule& rule) {
  return std::string("write <") + rule.group + " " + rule.flag + "=\"1\"/>, or list " + rule.entry +
         " elements";
}

void ReportEmpty(const StatementSource& source, const ListRule& rule, CheckReport& report) {
  const auto groups = ElementsNamed(source, rule.group);
  const long line = LineOf(groups.empty() ? source.filter : groups.back());
  const std::string effect = rule.absentPasses
                                 ? " covers only events without " + std::string(rule.entry)
                                 : " covers nothing";
  std::string text = groups.empty() ? source.name + " has no " + rule.group + ", so " + rule.flag +
                                          " counts as 0, and it"
                                    : source.name;
  text += effect;
  if (!groups.empty()) {
    text += std::string(": ") + rule.flag + " is 0 and no " + rule.entry + " is listed";
  }
  report.Add(line, Finding{rule.absentPasses ? Severity::kWarning : Severity::kError,
                           text + "; " + Advice(rule)});
}

}  // namespace

std::vector<_xmlNode*> ElementsNamed(const StatementSource& source, std::string_view name) {
  std::vector<_xmlNode*> named;
  for (_xmlNode* element : source.elements) {
    if (ElementName(element) == name) named.push_back(element);
  }
  return named;
}

void CheckList(WKConfigFile& file, const StatementSource& source, const ListRule& rule,
               CheckReport& report) {
  const std::vector<_xmlNode*> entries = ElementsNamed(source, rule.entry);
  EntriesCheck check(file, rule, report);
  for (_xmlNode* element : entries) check.Visit(element);
  const bool all = rule.isAll(*source.statement);
  if (!all && entries.empty()) return ReportEmpty(source, rule, report);
  if (!all || entries.empty()) return;
  report.Warning(LineOf(entries.front()),
                 std::string("the list of ") + rule.group + " is not looked at, since " +
                     rule.flag + " is 1; write " + rule.flag + "=\"0\", or remove the list");
}

}  // namespace wkagent
