#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace wkagent::test {
namespace {

std::filesystem::path Folder() { return WKAGENT_SOURCE_DIR "/include/wkagent"; }

// The headers that this folder's CMakeLists.txt names.
std::vector<std::string> NamedHeaders() {
  std::vector<std::string> names;
  std::istringstream list(PUBLIC_HEADERS);
  for (std::string name; list >> name;) names.push_back(name);
  return names;
}

// The names in the #include lines of a header.
std::vector<std::string> IncludesOf(const std::string& header) {
  std::vector<std::string> names;
  std::ifstream file(Folder() / header);
  for (std::string line; std::getline(file, line);) {
    if (line.rfind("#include", 0) == 0) names.push_back(line.substr(9));
  }
  return names;
}

TEST(PublicHeaders, EachIsCompiledAlone) {
  std::vector<std::string> present;
  for (const auto& entry : std::filesystem::directory_iterator(Folder())) {
    present.push_back(entry.path().filename().string());
  }
  EXPECT_THAT(NamedHeaders(), testing::UnorderedElementsAreArray(present));
}

TEST(PublicHeaders, IncludeTheStandardLibraryPosixAndTheirOwnKindOnly) {
  for (const std::string& header : NamedHeaders()) {
    for (const std::string& name : IncludesOf(header)) {
      const bool own = name.rfind("<wkagent/", 0) == 0;
      const bool standard = name.front() == '<' && name.find_first_of("/.") == std::string::npos;
      const bool posix = name == "<pthread.h>" || name == "<semaphore.h>";
      EXPECT_TRUE(own || standard || posix) << header << " includes " << name;
    }
  }
}

}  // namespace
}  // namespace wkagent::test
