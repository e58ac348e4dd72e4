#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <wkagent/core.h>

#include "tests/core/list_inspection.h"
#include "support/random_seed.h"

namespace wkagent::test {
namespace {

// What CLinkList does, told by a vector of strings. Elements are named by number, as cursor and
// marks follow their node wherever it moves; 0 names none.
class ListModel {
 public:
  struct Element {
    int id;
    std::string block;
  };

  void Append(const Element& element) {
    elements.push_back(element);
    tail = element.id;
  }

  void AddNode(const std::string& block) {
    if (elements.empty()) cursor = next_id_;
    Append({next_id_++, block});
  }

  void AddExclusiveNode(const std::string& block) {
    for (const Element& element : elements) {
      if (element.block.compare(0, block.size(), block) == 0) return;
    }
    AddNode(block);
  }

  std::string GetNode(int size) {
    const std::size_t index = Index(cursor);
    if (index == elements.size() || static_cast<int>(elements[index].block.size()) > size) {
      return "<refused>";
    }
    last = cursor;
    cursor = index + 1 < elements.size() ? elements[index + 1].id : 0;
    return elements[index].block;
  }

  int GetNodeDataSize() const {
    const std::size_t index = Index(cursor);
    return index == elements.size() ? 0 : static_cast<int>(elements[index].block.size());
  }

  void UpdateNode(const std::string& data) {
    const std::size_t index = Index(last);
    if (index < elements.size())
      elements[index].block = data.substr(0, elements[index].block.size());
  }

  void SwitchSortPosition() {
    std::swap(elements[Index(mark)], elements[Index(last)]);
    tail = elements.back().id;
    mark = last;
  }

  void RestoreSortPosition() {
    const std::size_t after = Index(mark) + 1;
    cursor = after < elements.size() ? elements[after].id : 0;
  }

  Element GetHeadListNode() {
    const Element element = elements.front();
    elements.erase(elements.begin());
    last = 0;
    if (mark == element.id) mark = 0;
    return element;
  }

  void ClearList() { elements.clear(), cursor = last = mark = tail = 0; }

  std::size_t Index(int id) const {
    const auto found = std::find_if(elements.begin(), elements.end(),
                                    [id](const Element& element) { return element.id == id; });
    return static_cast<std::size_t>(found - elements.begin());
  }

  std::vector<std::string> Blocks() const {
    std::vector<std::string> blocks;
    for (const Element& element : elements) blocks.push_back(element.block);
    return blocks;
  }

  std::vector<Element> elements;
  int cursor = 0;
  int last = 0;
  int mark = 0;
  int tail = 0;

 private:
  static inline int next_id_ = 1;  // of all models: elements move between them
};

// A list and its model, driven together.
struct Twin {
  CLinkList list;
  ListModel model;

  void Check() const {
    ASSERT_EQ(Blocks(list), model.Blocks());
    ASSERT_EQ(list.current == nullptr, model.cursor == 0);
    ASSERT_EQ(list.last == nullptr, model.last == 0);
  }
};

class LinkListModel : public testing::Test {
 protected:
  int Below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }

  // Short, of few letters and with zero bytes, so that many are equal or begin alike.
  std::string RandomBlock() {
    std::string block(static_cast<std::size_t>(Below(5)), '\0');
    for (char& letter : block) letter = "ab\0"[Below(3)];
    return block;
  }

  void Step(Twin& twin, Twin& other) {
    switch (Below(12)) {
      case 0:
      case 1:
        return AddNode(twin);
      case 2:
      case 3:
        return AddExclusiveNode(twin);
      case 4:
      case 5:
      case 6:
        return GetNode(twin);
      case 7:
        return MoveCursor(twin);
      case 8:
        return UpdateNode(twin);
      case 9:
        return Switch(twin);
      case 10:
        return MoveHead(twin, Below(2) == 0 ? twin : other);
      default:
        if (Below(10) == 0) Clear(twin);
    }
  }

  void AddNode(Twin& twin) {
    const std::string block = RandomBlock();
    ASSERT_EQ(Add(twin.list, block), 0);
    twin.model.AddNode(block);
  }

  void AddExclusiveNode(Twin& twin) {
    std::string block = RandomBlock();
    ASSERT_EQ(twin.list.AddExclusiveNode(block.data(), static_cast<int>(block.size())), 0);
    twin.model.AddExclusiveNode(block);
  }

  void GetNode(Twin& twin) {
    ASSERT_EQ(twin.list.GetNodeDataSize(), twin.model.GetNodeDataSize());
    ASSERT_EQ(twin.list.IsEndOfList(), twin.model.cursor == 0);
    ASSERT_EQ(twin.list.TailChanged(), twin.model.cursor == twin.model.tail ? 0 : 1);
    const int size = Below(6);
    ASSERT_EQ(Get(twin.list, size), twin.model.GetNode(size));
  }

  void MoveCursor(Twin& twin) {
    if (twin.model.elements.empty() || Below(2) == 0) {
      twin.list.SetHead();
      twin.model.cursor = twin.model.elements.empty() ? 0 : twin.model.elements.front().id;
    } else {
      twin.list.SetTail();
      twin.model.cursor = twin.model.tail;
    }
  }

  void UpdateNode(Twin& twin) {
    std::string data = RandomBlock() + "cccccc";
    twin.list.UpdateNode(data.data(), Below(10));
    twin.model.UpdateNode(data);
  }

  // Marks the node read last, reads on and exchanges the two.
  void Switch(Twin& twin) {
    twin.list.SetSortPosition();
    twin.model.mark = twin.model.last;
    if (twin.model.mark == 0) return;
    twin.list.RestoreSortPosition();
    twin.model.RestoreSortPosition();
    for (int reads = Below(4); reads > 0; --reads) GetNode(twin);
    twin.list.SwitchSortPosition();
    twin.model.SwitchSortPosition();
  }

  // The cursor of a list that lost its head would wander off with it; the host sets it anew.
  void MoveHead(Twin& from, Twin& to) {
    tagLinkList* const node = from.list.GetHeadListNode();
    ASSERT_EQ(node == nullptr, from.model.elements.empty());
    to.list.AddListNode(node);
    if (node == nullptr) return;
    to.model.Append(from.model.GetHeadListNode());
    from.list.SetHead();
    from.model.cursor = from.model.elements.empty() ? 0 : from.model.elements.front().id;
  }

  void Clear(Twin& twin) {
    twin.list.ClearList();
    twin.model.ClearList();
  }

  std::mt19937 random_;
};

TEST_F(LinkListModel, AnySequenceOfOperationsGivesWhatTheModelGives) {
  const unsigned first = RandomSeed();
  for (unsigned seed = first; seed < first + 100; ++seed) {
    SCOPED_TRACE("WKAGENT_TEST_SEED=" + std::to_string(seed));
    random_.seed(seed);
    Twin one, two;
    for (int step = 0; step < 500; ++step) {
      const bool swapped = Below(2) == 0;
      Step(swapped ? two : one, swapped ? one : two);
      one.Check();
      two.Check();
      ASSERT_FALSE(HasFailure()) << "at step " << step;
    }
  }
}

}  // namespace
}  // namespace wkagent::test
