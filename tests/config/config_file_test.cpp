#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <wkagent/config.h>

#include "support/counted_heap.h"
#include "support/open_files.h"
#include "tests/config/config_fixture.h"

namespace wkagent::test {
namespace {

static_assert(std::is_polymorphic_v<WKConfigFile>);
static_assert(std::has_virtual_destructor_v<WKConfigFile>);
static_assert(std::is_base_of_v<WKLogStatus, WKConfigFile>);
static_assert(sizeof(WKConfigFile::message) == 256);

TEST_F(ConfigFile, StartsWithNothing) {
  EXPECT_EQ(file_.logCallback, nullptr);
  EXPECT_EQ(file_.document, nullptr);
  EXPECT_EQ(file_.rootNode, nullptr);
  EXPECT_EQ(file_.lastValue, nullptr);
  EXPECT_EQ(file_.list.GetCount(), 0);
  EXPECT_EQ(file_.GetReadError(), nullptr);
}

TEST_F(ConfigFile, FieldsStandInTheirOrder) {
  EXPECT_LT(static_cast<void*>(&file_.document), static_cast<void*>(&file_.rootNode));
  EXPECT_LT(static_cast<void*>(&file_.rootNode), static_cast<void*>(&file_.lastValue));
  EXPECT_LT(static_cast<void*>(&file_.lastValue), static_cast<void*>(file_.message));
  EXPECT_LT(static_cast<void*>(file_.message), static_cast<void*>(&file_.list));
}

TEST_F(ConfigFile, TheRootBeforeReadFileIsNull) {
  EXPECT_EQ(file_.GetXMLRootNode(), nullptr);
  EXPECT_EQ(file_.rootNode, nullptr);
}

TEST_F(ConfigFile, ReadFileLoadsTheDocument) {
  EXPECT_EQ(Read("<?xml version=\"1.0\"?>\n<!-- settings -->\n<Settings/>\n"), 0);
  EXPECT_NE(file_.document, nullptr);
  EXPECT_EQ(file_.rootNode, nullptr);
  EXPECT_EQ(Name(file_.GetXMLRootNode()), "Settings");
  EXPECT_EQ(Name(file_.rootNode), "Settings");
}

TEST_F(ConfigFile, TheRootIsTheSameEachTime) {
  const _xmlNode* const root = Root("<Settings/>");
  EXPECT_EQ(file_.GetXMLRootNode(), root);
}

TEST_F(ConfigFile, ThePathIsUsedAsGiven) {
  home_.Write("bin/Settings.xml", "<InBin/>");
  home_.Write("config/Settings.xml", "<InConfig/>");
  EXPECT_EQ(ReadPath("Settings.xml"), 0);
  EXPECT_EQ(Name(file_.GetXMLRootNode()), "InBin");
  EXPECT_EQ(ReadPath(home_.Path("config/Settings.xml")), 0);
  EXPECT_EQ(Name(file_.GetXMLRootNode()), "InConfig");
}

TEST_F(ConfigFile, ALinkIsFollowed) {
  home_.Write("config/Settings.xml", "<Settings/>");
  std::filesystem::create_symlink("Settings.xml", home_.Path("config/Link.xml"));
  EXPECT_EQ(ReadPath("../config/Link.xml"), 0);
}

TEST_F(ConfigFile, ALargeFileIsReadWhole) {
  std::string text = "<Settings>";
  for (int i = 0; i < 20000; ++i) text += "<User Name=\"user" + std::to_string(i) + "\"/>\n";
  const _xmlNode* const root = Root(text + "<Last/></Settings>");
  EXPECT_EQ(Name(root->last), "Last");
}

TEST_F(ConfigFile, ASecondReadFileReplacesTheDocument) {
  EXPECT_EQ(Name(Root("<First/>")), "First");
  EXPECT_EQ(Name(Root("<Second/>")), "Second");
}

TEST_F(ConfigFile, TheFileMayChangeOrGoOnceItIsRead) {
  EXPECT_EQ(Read("<First a=\"1\"/>"), 0);
  home_.Write("config/Settings.xml", "<Other/>");
  std::filesystem::remove(home_.Path("config/Settings.xml"));
  EXPECT_EQ(Value(file_.GetXMLRootNode(), "a"), "1");
}

TEST_F(ConfigFile, AfterAFailedReadFileTheRootIsTheOneBefore) {
  _xmlNode* const root = Root("<First a=\"1\"/>");
  EXPECT_EQ(Read("<broken"), 1);
  EXPECT_EQ(file_.document, nullptr);
  EXPECT_EQ(file_.GetXMLRootNode(), root);
  EXPECT_EQ(Value(root, "a"), "1");
}

TEST_F(ConfigFile, AFailedReadFileForgetsADocumentWhoseRootWasNeverAskedFor) {
  EXPECT_EQ(Read("<First/>"), 0);
  EXPECT_EQ(Read("<broken"), 1);
  EXPECT_EQ(file_.GetXMLRootNode(), nullptr);
}

TEST_F(ConfigFile, EveryRootHandedOutStaysValid) {
  std::vector<_xmlNode*> roots;
  for (const char* value : {"1", "2", "3"}) {
    roots.push_back(Root("<Settings a=\"" + std::string(value) + "\"/>"));
    EXPECT_EQ(Read("<broken"), 1);
    EXPECT_EQ(Read("<Unasked/>"), 0);
  }
  EXPECT_EQ(Value(roots[0], "a"), "1");
  EXPECT_EQ(Value(roots[1], "a"), "2");
  EXPECT_EQ(Value(roots[2], "a"), "3");
}

TEST_F(ConfigFile, ReadFileSucceedsAfterAFailure) {
  EXPECT_EQ(Read("<broken"), 1);
  EXPECT_EQ(Name(Root("<Mended/>")), "Mended");
}

TEST_F(ConfigFile, ReadFileEmptiesTheList) {
  char block[] = "block";
  for (const char* text : {"<Settings/>", "<broken"}) {
    file_.list.AddNode(block, 5);
    Read(text);
    EXPECT_EQ(file_.list.GetCount(), 0) << text;
  }
  file_.list.AddNode(block, 5);
  file_.InitializeLogMessage(LogRecorder::Callback);
  ReadPath("../config/missing.xml");
  EXPECT_EQ(file_.list.GetCount(), 0);
}

TEST_F(ConfigFile, TheListsObjectsSurviveReadFileAndTheReader) {
  const auto object = std::make_unique<std::string>("the caller's");
  void* pointer = object.get();
  home_.Write("config/Settings.xml", "<Settings/>");
  {
    WKConfigFile file;
    file.list.AddNode(static_cast<void*>(&pointer), sizeof(pointer));
    EXPECT_EQ(file.ReadFile(Text(kPath)), 0);
    file.list.AddNode(static_cast<void*>(&pointer), sizeof(pointer));
  }
  EXPECT_EQ(*object, "the caller's");
}

// A reader as subsystems and hosts derive theirs.
class Reader : public WKConfigFile {
 public:
  explicit Reader(bool& destroyed) : destroyed_(destroyed) {}
  ~Reader() override { destroyed_ = true; }
  int ReadFile(char* path) override { return WKConfigFile::ReadFile(path) + 40; }

 private:
  bool& destroyed_;
};

TEST_F(ConfigFile, AReaderIsUsedThroughItsBase) {
  bool destroyed = false;
  std::unique_ptr<WKConfigFile> reader = std::make_unique<Reader>(destroyed);
  home_.Write("config/Settings.xml", "<Settings/>");
  EXPECT_EQ(reader->ReadFile(Text(kPath)), 40);
  EXPECT_EQ(Name(reader->GetXMLRootNode()), "Settings");
  reader.reset();
  EXPECT_TRUE(destroyed);
}

TEST_F(ConfigFile, NothingIsLeftWhenAReaderEnds) {
  home_.Write("config/Good.xml", "<Settings a=\"1\">text</Settings>");
  home_.Write("config/Bad.xml", "<broken");
  const auto use_a_reader = [] {
    WKConfigFile file;
    file.ReadFile(Text("../config/Good.xml"));
    file.ReadFile(Text("../config/Good.xml"));
    file.GetNodeContent(file.GetXMLRootNode());
    file.GetTagValue(file.GetXMLRootNode(), Text("a"));
    file.ReadFile(Text("../config/Bad.xml"));
  };
  use_a_reader();
  const long before = LiveBlocks();
  use_a_reader();
  const long after = LiveBlocks();
  EXPECT_EQ(after, before);
}

TEST_F(ConfigFile, NoFileIsKeptOpen) {
  const long before = OpenFiles();
  EXPECT_EQ(Read("<Settings/>"), 0);
  EXPECT_EQ(Read("<broken"), 1);
  EXPECT_EQ(OpenFiles(), before);
}

// A source of XML that a host has registered with the XML library under the name "host:".
class HostSource {
 public:
  HostSource() {
    xmlRegisterInputCallbacks(
        [](const char* name) { return std::strcmp(name, "host:") == 0 ? 1 : 0; },
        [](const char*) -> void* { return &(unread_ = "<Host/>"); },
        [](void*, char* buffer, int length) {
          const std::size_t size = unread_.copy(buffer, static_cast<std::size_t>(length));
          unread_.erase(0, size);
          return static_cast<int>(size);
        },
        [](void*) { return 0; });
  }
  ~HostSource() { xmlPopInputCallbacks(); }

  static bool IsReadable() {
    xmlDoc* const document = xmlReadFile("host:", nullptr, XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    xmlFreeDoc(document);
    return document != nullptr;
  }

 private:
  static inline std::string unread_;
};

TEST_F(ConfigFile, WhatTheHostToldTheXmlLibraryOutlivesTheReaders) {
  const HostSource source;
  EXPECT_TRUE(HostSource::IsReadable());
  EXPECT_EQ(Read("<broken"), 1);
  EXPECT_TRUE(HostSource::IsReadable());
  std::make_unique<WKConfigFile>().reset();
  EXPECT_TRUE(HostSource::IsReadable());
}

}  // namespace
}  // namespace wkagent::test
