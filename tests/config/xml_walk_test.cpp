#include "config/xml_walk.h"

#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "config/xml_library.h"
#include "support/random_seed.h"

namespace wkagent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string Name(const xmlNode* element) { return reinterpret_cast<const char*>(element->name); }

// The names of the elements that the walk visits, in its order.
std::vector<std::string> Walked(xmlNode* first) {
  std::vector<std::string> names;
  WalkElements(first, [&](const xmlNode* element) { names.push_back(Name(element)); });
  return names;
}

// The same, by recursion.
void WalkNaively(const xmlNode* node, std::vector<std::string>& names) {
  for (; node != nullptr; node = node->next) {
    if (node->type != XML_ELEMENT_NODE) continue;
    names.push_back(Name(node));
    WalkNaively(node->children, names);
  }
}

class XmlWalk : public testing::Test {
 protected:
  xmlNode* Root(const std::string& text) {
    InitXmlLibrary();
    document_.reset(xmlReadMemory(text.data(), static_cast<int>(text.size()), "test", nullptr, 0));
    EXPECT_NE(document_, nullptr) << text;
    return document_ == nullptr ? nullptr : xmlDocGetRootElement(document_.get());
  }

  XmlDoc document_;
};

TEST_F(XmlWalk, NothingIsWalkedFromNull) { EXPECT_THAT(Walked(nullptr), IsEmpty()); }

TEST_F(XmlWalk, AnElementComesBeforeItsChildrenAndTheseBeforeItsSiblings) {
  EXPECT_THAT(Walked(Root("<r><a><b/><c><d/></c></a><e/><f><g/></f></r>")),
              ElementsAre("r", "a", "b", "c", "d", "e", "f", "g"));
}

TEST_F(XmlWalk, OnlyElementsAreVisited) {
  EXPECT_THAT(Walked(Root("<r x='1'>t<!-- <n/> --><a/><?pi p?><![CDATA[<n/>]]><b>t</b></r>")),
              ElementsAre("r", "a", "b"));
}

TEST_F(XmlWalk, StartsInTheMiddle) {
  xmlNode* const root = Root("<r><a><b/></a><c><d/></c><e/></r>");
  xmlNode* const a = root->children;
  EXPECT_THAT(Walked(a), ElementsAre("a", "b", "c", "d", "e"));
  EXPECT_THAT(Walked(a->next), ElementsAre("c", "d", "e"));
  EXPECT_THAT(Walked(a->children), ElementsAre("b"));
}

TEST_F(XmlWalk, StartsAtAText) {
  const xmlNode* const root = Root("<r>text<a/></r>");
  EXPECT_THAT(Walked(root->children), ElementsAre("a"));
}

TEST_F(XmlWalk, WhatFollowsTheRootIsNoElement) {
  EXPECT_THAT(Walked(Root("<r><a/></r><!-- after --><?pi p?>")), ElementsAre("r", "a"));
}

TEST_F(XmlWalk, StartsAtTheDocumentsFirstNode) {
  Root("<!-- before --><r><a/></r>");
  EXPECT_THAT(Walked(document_->children), ElementsAre("r", "a"));
}

TEST_F(XmlWalk, AnEntitysElementsAreNotTheReferencesOwn) {
  EXPECT_THAT(Walked(Root("<!DOCTYPE r [<!ENTITY e '<x><y/></x>'>]><r>&e;<a>&e;</a><b/></r>")),
              ElementsAre("r", "a", "b"));
}

TEST_F(XmlWalk, AChainOfAHundredThousandIsWalked) {
  xmlNode* deepest = Root("<r/>");
  for (int i = 0; i < 100000; ++i) {
    deepest = xmlNewChild(deepest, nullptr, reinterpret_cast<const xmlChar*>("a"), nullptr);
  }
  EXPECT_EQ(Walked(document_->children).size(), 100001U);
}

TEST_F(XmlWalk, AnyTreeIsWalkedAsByRecursion) {
  std::mt19937 random(test::RandomSeed());
  for (int round = 0; round < 500; ++round) {
    std::vector<xmlNode*> nodes = {Root("<r/>")};
    for (int i = 0; i < 20; ++i) {
      const std::string name(1, static_cast<char>('a' + i));
      xmlNode* const node =
          random() % 4 == 0 ? xmlNewComment(nullptr)
                            : xmlNewNode(nullptr, reinterpret_cast<const xmlChar*>(name.c_str()));
      xmlAddChild(nodes[random() % nodes.size()], node);
      if (node->type == XML_ELEMENT_NODE) nodes.push_back(node);
    }
    for (xmlNode* const start : nodes) {
      std::vector<std::string> expected;
      WalkNaively(start, expected);
      ASSERT_EQ(Walked(start), expected);
    }
  }
}

TEST_F(XmlWalk, HasNameComparesTheWholeNameWithCase) {
  const xmlNode* const root = Root("<Filter/>");
  EXPECT_TRUE(HasName(root, "Filter"));
  EXPECT_FALSE(HasName(root, "filter"));
  EXPECT_FALSE(HasName(root, "Filte"));
  EXPECT_FALSE(HasName(root, "Filters"));
  EXPECT_FALSE(HasName(root, ""));
}

}  // namespace
}  // namespace wkagent
