#ifndef WKAGENT_TESTS_AGENT_PIPELINE_FIXTURE_H
#define WKAGENT_TESTS_AGENT_PIPELINE_FIXTURE_H

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include "agent/event_codes.h"
#include "agent/field_text.h"
#include "agent/pipeline.h"
#include "support/agent_home.h"

namespace wkagent::test {

// A statement on the users whose names hold `user`; empty covers all.
inline std::string Statement(const std::string& user, bool include = true,
                             const std::string& alerts = "") {
  return std::string("<Filter Title=\"t\" IncludeExclude=\"") + (include ? "1" : "0") +
         "\" Enabled=\"1\" AllDay=\"1\" Context=\"\" IncludeSubContainers=\"1\">\n"
         "<Operations AllOperations=\"1\"/>\n<Users AllUsers=\"" +
         (user.empty() ? "1" : "0") + "\">" +
         (user.empty() ? "" : "<User Name=\"" + user + "\"/>") +
         "</Users>\n<Objects AllObjects=\"1\"/>\n<Classes AllClasses=\"1\"/>\n"
         "<Attributes AllAttributes=\"1\"/>\n<AttributeValues AllAttributeValues=\"1\"/>\n" +
         alerts + "</Filter>\n";
}

// A login filter file that covers logins and logouts of the users whose names hold `user`.
inline std::string Logins(const std::string& user, const std::string& condition) {
  return "<F><Filter Title=\"\" IncludeExclude=\"1\" Enabled=\"1\" AllDay=\"1\"/>"
         "<Operations AllOperations=\"0\"/><Operation EventId=\"21001\" Condition=\"" +
         condition + "\"/><Operation EventId=\"21002\" Condition=\"" + condition +
         "\"/><Users AllUsers=\"" + (user.empty() ? "1" : "0") + "\"/>" +
         (user.empty() ? "" : "<User Name=\"" + user + "\"/>") + "<Nodes AllNodes=\"1\"/></F>";
}

inline constexpr char kAllAlerts[] =
    "<SNMP Alert=\"1\"/><SysLog Alert=\"1\"/>"
    "<SMTP Alert=\"1\" From=\"a@acme\" Subject=\"s\" To=\"b@acme\" Cc=\"\"/>";

inline std::string Filters(const std::string& statements) {
  return "<?xml version=\"1.0\"?>\n<Filters>\n" + statements + "</Filters>\n";
}

using Record = std::vector<std::pair<std::string, std::string>>;

// The records of an audit file, which must be complete XML.
inline std::vector<Record> RecordsIn(const std::string& path) {
  const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
      xmlReadFile(path.c_str(), nullptr, XML_PARSE_NONET), xmlFreeDoc);
  EXPECT_NE(nullptr, document) << path;
  if (document == nullptr) return {};
  std::vector<Record> records;
  const xmlNode* const group = xmlFirstElementChild(xmlDocGetRootElement(document.get()));
  for (xmlNode* node = group->children; node != nullptr; node = node->next) {
    if (node->type != XML_ELEMENT_NODE) continue;
    records.emplace_back();
    for (const xmlAttr* attribute = node->properties; attribute != nullptr;
         attribute = attribute->next) {
      const std::unique_ptr<xmlChar, decltype(xmlFree)> value(
          xmlNodeListGetString(document.get(), attribute->children, 1), xmlFree);
      records.back().emplace_back(reinterpret_cast<const char*>(attribute->name),
                                  value ? reinterpret_cast<const char*>(value.get()) : "");
    }
  }
  return records;
}

inline std::string ValueOf(const Record& record, const std::string& name) {
  for (const auto& [attribute, value] : record) {
    if (attribute == name) return value;
  }
  return "no " + name;
}

class PipelineTest : public ::testing::Test {
 protected:
  PipelineTest() { home_.Write("config/EDAFilter.xml", Filters(Statement(""))); }

  // Calls `action`; what it printed is in `printed_` then.
  template <typename Action>
  auto Quietly(Action action) {
    ::testing::internal::CaptureStderr();
    struct End {
      ~End() { text = ::testing::internal::GetCapturedStderr(); }
      std::string& text;
    } const end{printed_};
    return action();
  }

  // Starts a pipeline on the home as it is.
  ExitStatus Start() {
    pipeline_ = std::make_unique<Pipeline>(root_, "the feed");
    return Quietly([&] { return pipeline_->Start(); });
  }

  void Send(const std::string& user, int count = 1, int code = kEntryAdded) {
    tagWKEventData event{};
    event.EventID = static_cast<std::uint16_t>(code);
    SetField(event.UserName, user);
    Quietly([&] {
      for (int i = 0; i < count; ++i) {
        SetField(event.Object1, "object" + std::to_string(sent_++) + ".acme");
        pipeline_->OnEvent(event);
      }
      return 0;
    });
  }

  void Reload(const std::string& filterFile) {
    home_.Write("config/EDAFilter.xml", filterFile);
    Quietly([&] {
      pipeline_->Reload();
      return 0;
    });
  }

  ExitStatus Finish() {
    return Quietly([&] { return pipeline_->Finish(); });
  }

  [[nodiscard]] Totals GetTotals() { return pipeline_->GetTotals(); }

  // The numbers of the objects in all audit files of the home, sorted.
  [[nodiscard]] std::vector<int> Written() {
    std::vector<int> numbers;
    for (const std::string folder : {"outbox", "tmp"}) {
      for (const std::string& name : home_.List(folder)) {
        if (!name.starts_with("EDA")) continue;
        for (const Record& record : RecordsIn(home_.Path(folder + "/" + name))) {
          numbers.push_back(std::stoi(ValueOf(record, "Object1").substr(6)));
        }
      }
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
  }

  [[nodiscard]] static std::vector<int> Numbers(int count) {
    std::vector<int> numbers;
    for (int i = 0; i < count; ++i) numbers.push_back(i);
    return numbers;
  }

  AgentHome home_;
  const std::string root_ = std::filesystem::path(home_.Path("bin")).parent_path().string();
  std::unique_ptr<Pipeline> pipeline_;
  std::string printed_;
  int sent_ = 0;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_AGENT_PIPELINE_FIXTURE_H
