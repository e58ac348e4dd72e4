#ifndef WKAGENT_TESTS_FILTER_READER_FIXTURE_H
#define WKAGENT_TESTS_FILTER_READER_FIXTURE_H

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_kinds.h"
#include "filter_support.h"
#include "support/agent_home.h"

namespace wkagent::test {

// Reads filter files with one reader of a kind, in a home of its own.
template <typename Kind>
class ReaderFixture : public ::testing::Test {
 protected:
  using Statement = typename Kind::Statement;

  // Reads a file of exactly this text.
  int ReadText(const std::string& text) {
    home_.Write("config/f.xml", text);
    return reader_.ReadFile(Text("../config/f.xml"));
  }

  // Reads a file of these elements, which must succeed.
  void ReadElements(const std::string& elements) {
    EXPECT_EQ(0, ReadText(FilterFile(elements))) << elements;
  }

  // Reads one `Filter` element around `elements` and gives its statement.
  Statement& ReadOne(const std::string& elements) {
    ReadElements(FilterElement("T", elements));
    return *Statements().at(0);
  }

  // Reads one `Filter` element of these attributes alone.
  Statement& ReadAttributes(const std::string& attributes) {
    ReadElements("<Filter " + attributes + "/>");
    return *Statements().at(0);
  }

  std::vector<Statement*> Statements() { return Objects<Statement>(reader_.list); }

  std::vector<std::string> Titles() {
    std::vector<std::string> titles;
    for (const auto* statement : Statements()) titles.emplace_back(statement->title.Get());
    return titles;
  }

  // The users of every statement, one text a statement.
  std::vector<std::string> Users() {
    std::vector<std::string> users;
    for (const auto* statement : Statements()) {
      std::string& names = users.emplace_back();
      for (const std::string& name : Entries(statement->users)) names += name + " ";
    }
    return users;
  }

  AgentHome home_;
  typename Kind::Reader reader_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_FILTER_READER_FIXTURE_H
