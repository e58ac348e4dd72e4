#ifndef WKAGENT_TESTS_FILTER_FILTER_KINDS_H
#define WKAGENT_TESTS_FILTER_FILTER_KINDS_H

// The kinds of filters, for tests of what they share. Such a test is typed by its kind, which names
// the classes and what differs between them.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_support.h"

namespace wkagent::test {

// An element whose one attribute sets a flag.
template <typename Statement>
struct FlagElement {
  const char* element;
  const char* attribute;
  bool (*get)(Statement&);
};

// An element whose `Name` is appended to a list.
template <typename Statement>
struct NameElement {
  const char* element;
  CLinkList& (*list)(Statement&);
  bool converted;  // to dotted form
};

struct Directory {
  using Reader = WKEdaConfig;
  using Statement = WKEDAFilterStatement;
  using Filter = WKEDAFilter;
  using Event = DirectoryEvent;

  static constexpr char kName[] = "Directory";
  static constexpr int kFirstOperation = 20001;

  static void Walk(Reader& reader, _xmlNode* element) { reader.MapEDADatatoObject(element); }
  static void ReadFilter(Reader& reader, _xmlNode* element) { reader.GetEDAFilterDetails(element); }
  static void ReadOperation(Reader& reader, _xmlNode* element) { reader.GetEDAOperations(element); }

  static void AddFirstOperation(Statement& statement) { statement.AddOperation(kFirstOperation); }

  // What a filter says of a file that it cannot read, beside what its reader says.
  static std::vector<std::string> Complaint(const std::string& /*path*/) { return {}; }

  static constexpr FlagElement<Statement> kFlagElements[] = {
      {"Operations", "AllOperations", [](Statement& read) { return read.allOperations; }},
      {"Users", "AllUsers", [](Statement& read) { return read.allUsers; }},
      {"Objects", "AllObjects", [](Statement& read) { return read.allObjects; }},
      {"Classes", "AllClasses", [](Statement& read) { return read.allClasses; }},
      {"Attributes", "AllAttributes", [](Statement& read) { return read.allAttributes; }},
      {"AttributeValues", "AllAttributeValues", [](Statement& read) { return read.allValues; }},
      {"Action", "ExcludeAlert", [](Statement& read) { return read.excludeAlert; }},
      {"SNMP", "Alert", [](Statement& read) { return read.IsSNMPAlertSet(); }},
      {"SysLog", "Alert", [](Statement& read) { return read.IsSyslogAlertSet(); }},
      {"SMTP", "Alert", [](Statement& read) { return read.IsSMTPAlertSet(); }},
  };
  static constexpr NameElement<Statement> kNameElements[] = {
      {"User", [](Statement& read) -> CLinkList& { return read.users; }, true},
      {"Object", [](Statement& read) -> CLinkList& { return read.objects; }, true},
      {"Class", [](Statement& read) -> CLinkList& { return read.classes; }, false},
      {"Attribute", [](Statement& read) -> CLinkList& { return read.attributes; }, false},
      {"AttributeValue", [](Statement& read) -> CLinkList& { return read.values; }, false},
  };
};

struct Login {
  using Reader = WKElaConfig;
  using Statement = WKELAFilterStatement;
  using Filter = WKELAFilter;
  using Event = LoginEvent;

  static constexpr char kName[] = "Login";
  static constexpr int kFirstOperation = 21001;

  static void Walk(Reader& reader, _xmlNode* element) { reader.MapELADatatoObject(element); }
  static void ReadFilter(Reader& reader, _xmlNode* element) { reader.GetELAFilterDetails(element); }
  static void ReadOperation(Reader& reader, _xmlNode* element) { reader.GetELAOperations(element); }

  static void AddFirstOperation(Statement& statement) {
    statement.AddOperation(kFirstOperation, 0);
  }

  static std::vector<std::string> Complaint(const std::string& path) {
    return {"Cannot read config file " + path + "\n"};
  }

  static constexpr FlagElement<Statement> kFlagElements[] = {
      {"Operations", "AllOperations", [](Statement& read) { return read.allOperations; }},
      {"Users", "AllUsers", [](Statement& read) { return read.allUsers; }},
      {"Nodes", "AllNodes", [](Statement& read) { return read.allNodes; }},
      {"Action", "ExcludeAlert", [](Statement& read) { return read.excludeAlert; }},
      {"SNMP", "Alert", [](Statement& read) { return read.IsSNMPAlertSet(); }},
      {"SysLog", "Alert", [](Statement& read) { return read.IsSyslogAlertSet(); }},
      {"SMTP", "Alert", [](Statement& read) { return read.IsSMTPAlertSet(); }},
  };
  static constexpr NameElement<Statement> kNameElements[] = {
      {"User", [](Statement& read) -> CLinkList& { return read.users; }, true},
      {"Node", [](Statement& read) -> CLinkList& { return read.nodes; }, false},
  };
};

using FilterKinds = ::testing::Types<Directory, Login>;

struct KindName {
  template <typename Kind>
  static std::string GetName(int /*index*/) {
    return Kind::kName;
  }
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_FILTER_FILTER_KINDS_H
