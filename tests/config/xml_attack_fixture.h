#ifndef WKAGENT_TESTS_CONFIG_XML_ATTACK_FIXTURE_H
#define WKAGENT_TESTS_CONFIG_XML_ATTACK_FIXTURE_H

#include <filesystem>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/agent_home.h"
#include "support/collector.h"
#include "support/private_root.h"

namespace wkagent::test {

// One of the classes that read XML files.
struct XmlReader {
  const char* name;
  const char* place;  // of the file, in the home's config folder or as a whole path
  // What gives the reader a text, which must not hold quotes.
  std::string (*element)(const std::string& text);
  // Reads the file in its place; the text that was taken, nothing where the file is refused.
  std::optional<std::string> (*read)(const std::string& path);
  bool rootsChildrenOnly = false;
};

inline std::ostream& operator<<(std::ostream& out, const XmlReader& reader) {
  return out << reader.name;
}

extern const std::vector<XmlReader> kXmlReaders;

// What no reader may touch: a file and a pipe whose openings are seen, and a server.
class Lures {
 public:
  static constexpr char kSecret[] = "planted secret";

  explicit Lures(const AgentHome& home);

  [[nodiscard]] std::vector<std::string> Addresses() const;
  [[nodiscard]] bool WereTouched() const;

 private:
  std::string file_;
  std::string pipe_;
  Fd openings_;
  Collector server_;
};

// Lets a reader loose on files, in a child process with little memory and time.
class XmlAttack : public testing::TestWithParam<XmlReader> {
 protected:
  // Fails where `body` fails, ends by itself, or takes more than a gigabyte or two minutes.
  static void InBounds(const std::function<void()>& body);

  // What the reader takes of a file of these bytes. What that prints is in `said_`.
  std::optional<std::string> Read(const std::string& bytes);
  std::optional<std::string> ReadPlace();

  // The path of the file, and the part of it that the reader knows.
  [[nodiscard]] std::string Place() const;
  [[nodiscard]] static std::string NameOfPlace() {
    return std::filesystem::path(GetParam().place).filename();
  }

  [[nodiscard]] static bool IsFlat() { return GetParam().rootsChildrenOnly; }
  [[nodiscard]] static std::string Element(const std::string& text) {
    return GetParam().element(text);
  }

  // A document that gives the reader a text, without and with a DTD of this internal subset.
  [[nodiscard]] static std::string Bare(const std::string& text) {
    return "<r>" + Element(text) + "</r>";
  }
  [[nodiscard]] static std::string Document(const std::string& subset, const std::string& text) {
    return "<!DOCTYPE r [" + subset + "]>" + Bare(text);
  }

  // The fields that take the text are bounded.
  static auto Holds(const std::string& text) { return testing::StartsWith(text); }
  static bool IsRefusedOrHolds(const std::optional<std::string>& found, const std::string& text) {
    return !found || found->starts_with(text);
  }

  AgentHome home_;
  std::string said_;
};

// UTF-8 text in another encoding.
[[nodiscard]] std::string Converted(const std::string& text, const std::string& encoding);

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_CONFIG_XML_ATTACK_FIXTURE_H
