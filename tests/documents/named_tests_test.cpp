// docs/security.md names the tests that show what it says. Each of them exists.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace wkagent::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

namespace fs = std::filesystem;

const fs::path kTree = WKAGENT_SOURCE_DIR;

std::string TextOf(const fs::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

// What the pattern's two groups match, "FIRST.SECOND", wherever it matches.
std::set<std::string> PairsIn(const std::string& text, const std::regex& pattern) {
  std::set<std::string> pairs;
  for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match) {
    pairs.insert((*match)[1].str() + "." + (*match)[2].str());
  }
  return pairs;
}

// The tests of the sources, "SUITE.CASE".
std::set<std::string> Tests() {
  static const std::regex pattern(R"(\bTEST(?:_F|_P)?\(\s*(\w+)\s*,\s*(\w+)\s*\))");
  std::set<std::string> all;
  for (const auto& entry : fs::recursive_directory_iterator(kTree / "tests")) {
    if (entry.path().extension() == ".cpp") all.merge(PairsIn(TextOf(entry.path()), pattern));
  }
  return all;
}

// Those that a document names: `SUITE.CASE` between backquotes, both in upper camel case.
std::set<std::string> NamedIn(const std::string& document) {
  static const std::regex pattern(R"(`([A-Z]\w+)\.([A-Z]\w+)`)");
  return PairsIn(TextOf(kTree / document), pattern);
}

// The rows of the table behind a heading, without its head.
std::vector<std::string> Rows(const std::string& text, const std::string& heading) {
  static const std::regex row(R"(^\|.*\|$)");
  std::vector<std::string> rows;
  std::istringstream lines(text.substr(text.find("\n## " + heading + "\n") + 1));
  std::string line;
  std::getline(lines, line);
  while (std::getline(lines, line) && !line.starts_with("## ")) {
    if (std::regex_match(line, row)) rows.push_back(line);
  }
  if (rows.size() > 2) rows.erase(rows.begin(), rows.begin() + 2);
  return rows;
}

TEST(SecurityDocument, NamesTestsThatExist) {
  const std::set<std::string> tests = Tests();
  const std::set<std::string> named = NamedIn("docs/security.md");
  EXPECT_THAT(named, SizeIs(::testing::Ge(50U)));
  for (const std::string& name : named) EXPECT_THAT(tests, Contains(name));
}

TEST(SecurityDocument, NamesATestForEachThreat) {
  const std::vector<std::string> rows = Rows(TextOf(kTree / "docs/security.md"), "Threats");
  EXPECT_THAT(rows, Not(IsEmpty()));
  for (const std::string& row : rows) {
    EXPECT_TRUE(std::regex_search(row, std::regex(R"(\| `\w+\.\w+`(, `\w+\.\w+`)* \|$)"))) << row;
  }
}

TEST(SecurityDocument, TestsAreFoundByTheirMacros) {
  EXPECT_THAT(Tests(), AllOf(Contains("SecurityDocument.TestsAreFoundByTheirMacros"),
                             Not(Contains("SecurityDocument.IsNoTest"))));
}

}  // namespace
}  // namespace wkagent::test
