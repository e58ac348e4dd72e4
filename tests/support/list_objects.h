#ifndef WKAGENT_TESTS_SUPPORT_LIST_OBJECTS_H
#define WKAGENT_TESTS_SUPPORT_LIST_OBJECTS_H

#include <cstring>
#include <vector>

#include <wkagent/core.h>

namespace wkagent::test {

// The objects of a list of 8-byte pointers; the cursor stays.
template <typename T>
std::vector<T*> Objects(const CLinkList& list) {
  std::vector<T*> objects;
  for (const tagLinkList* node = list.head; node != nullptr; node = node->next) {
    std::memcpy(&objects.emplace_back(), node->data, sizeof(T*));
  }
  return objects;
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_LIST_OBJECTS_H
