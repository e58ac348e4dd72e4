#ifndef WKAGENT_TESTS_CORE_LIST_INSPECTION_H
#define WKAGENT_TESTS_CORE_LIST_INSPECTION_H

#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <wkagent/core.h>

namespace wkagent::test {

inline std::string Block(const tagLinkList* node) {
  return {node->data, static_cast<std::size_t>(node->size)};
}

// The blocks from head to tail, read past the cursor. Fails where the links, the tail or the count
// do not fit together.
inline std::vector<std::string> Blocks(const CLinkList& list) {
  std::vector<std::string> blocks;
  const tagLinkList* previous = nullptr;
  for (const tagLinkList* node = list.head; node != nullptr; node = node->next) {
    EXPECT_EQ(node->prev, previous) << "at node " << blocks.size();
    blocks.push_back(Block(node));
    previous = node;
  }
  if (previous != nullptr) {
    EXPECT_EQ(list.tail, previous);
  }
  EXPECT_EQ(list.count, static_cast<int>(blocks.size()));
  return blocks;
}

inline int Add(CLinkList& list, std::string block) {
  return list.AddNode(block.data(), static_cast<int>(block.size()));
}

// GetNode into a buffer of exactly `size` bytes: the block, or "<refused>" where the result is 1.
inline std::string Get(CLinkList& list, int size = 64) {
  const auto length = static_cast<std::size_t>(list.GetNodeDataSize());
  std::vector<char> buffer(static_cast<std::size_t>(size), '#');
  const int result = list.GetNode(buffer.data(), size);
  if (result != 0) {
    EXPECT_EQ(result, 1);
    EXPECT_EQ(buffer, std::vector<char>(buffer.size(), '#'));
    return "<refused>";
  }
  for (std::size_t i = length; i < buffer.size(); ++i) EXPECT_EQ(buffer[i], '#');
  return {buffer.data(), length};
}

// Everything that a reading loop with a buffer of `size` bytes gets.
inline std::vector<std::string> ReadAll(CLinkList& list, int size = 64) {
  std::vector<std::string> blocks;
  list.SetHead();
  for (std::string block = Get(list, size); block != "<refused>"; block = Get(list, size)) {
    blocks.push_back(block);
  }
  return blocks;
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_CORE_LIST_INSPECTION_H
