#include <algorithm>
#include <cstring>

#include <wkagent/core.h>

#include "core/watched_changes.h"

CLinkList::CLinkList()
    : head(nullptr),
      tail(nullptr),
      current(nullptr),
      last(nullptr),
      sortPosition(nullptr),
      count(0),
      revision_(0),
      watched_(0) {}

CLinkList::~CLinkList() { ClearList(); }

int CLinkList::AddNode(void* data, int size) {
  const auto bytes = static_cast<std::size_t>(std::max(size, 0));
  auto block = std::make_unique<char[]>(bytes);
  if (data != nullptr && bytes > 0) std::memcpy(block.get(), data, bytes);
  auto node = std::make_unique<tagLinkList>();
  node->size = static_cast<int>(bytes);
  node->data = block.release();
  if (head == nullptr) current = node.get();
  Append(node.release());
  return 0;
}

int CLinkList::AddExclusiveNode(void* data, int size) {
  const auto bytes = static_cast<std::size_t>(std::max(size, 0));
  if (data == nullptr && bytes > 0) return AddNode(data, size);
  for (const tagLinkList* node = head; node != nullptr; node = node->next) {
    if (node->size < size) continue;
    if (bytes == 0 || std::memcmp(node->data, data, bytes) == 0) return 0;
  }
  return AddNode(data, size);
}

int CLinkList::GetNode(void* buffer, int bufferSize) {
  if (current == nullptr || current->size > bufferSize) return 1;
  if (current->size > 0) {
    std::memcpy(buffer, current->data, static_cast<std::size_t>(current->size));
  }
  last = current;
  current = current->next;
  return 0;
}

int CLinkList::GetCount() { return count; }

int CLinkList::GetNodeDataSize() { return current == nullptr ? 0 : current->size; }

void CLinkList::SetHead() { current = head; }

void CLinkList::SetTail() { current = tail; }

bool CLinkList::IsEndOfList() { return current == nullptr; }

int CLinkList::TailChanged() { return current == tail ? 0 : 1; }

void CLinkList::UpdateNode(void* data, int /*size*/) {
  if (last == nullptr || data == nullptr || last->size == 0) return;
  std::memcpy(last->data, data, static_cast<std::size_t>(last->size));
  Changed();
}

void CLinkList::FreeNode(tagLinkList* node) {
  if (node == nullptr) return;
  // A detached node may still be named by the list's marks; they must not outlive it.
  for (tagLinkList** mark : {&tail, &current, &last, &sortPosition}) {
    if (*mark == node) *mark = nullptr;
  }
  const std::unique_ptr<tagLinkList> owner(node);
  const std::unique_ptr<char[]> block(node->data);
  --count;
  Changed();
}

void CLinkList::ClearList() {
  while (head != nullptr) {
    tagLinkList* next = head->next;
    FreeNode(head);
    head = next;
  }
  tail = nullptr;
  current = nullptr;
  last = nullptr;
  sortPosition = nullptr;
  count = 0;
}

void CLinkList::ClearElements() {
  for (tagLinkList* node = head; node != nullptr; node = node->next) {
    void* object = nullptr;
    if (node->size < static_cast<int>(sizeof(object))) continue;
    std::memcpy(&object, node->data, sizeof(object));
    std::memset(node->data, 0, sizeof(object));
    ::operator delete(object);
    Changed();
  }
  SetHead();
}

void CLinkList::ClearList(int) {
  ClearElements();
  ClearList();
}

void CLinkList::SetSortPosition() { sortPosition = last; }

void CLinkList::RestoreSortPosition() {
  current = sortPosition == nullptr ? nullptr : sortPosition->next;
}

tagLinkList* CLinkList::SwitchSortPosition() {
  tagLinkList* const first = sortPosition;
  tagLinkList* const second = last;
  if (first == nullptr || second == nullptr) return nullptr;
  if (first == second) return second;

  tagLinkList* const before = first->prev;
  tagLinkList* const after = second->next;
  if (first->next == second) {
    second->next = first;
    first->prev = second;
  } else {
    second->next = first->next;
    second->next->prev = second;
    first->prev = second->prev;
    first->prev->next = first;
  }
  second->prev = before;
  first->next = after;
  (before == nullptr ? head : before->next) = second;
  (after == nullptr ? tail : after->prev) = first;
  sortPosition = second;
  Changed();
  return second;
}

tagLinkList* CLinkList::GetHeadListNode() {
  if (head == nullptr) return nullptr;
  tagLinkList* const node = head;
  head = node->next;
  if (head != nullptr) head->prev = nullptr;
  last = nullptr;
  --count;
  Changed();
  return node;
}

void CLinkList::AddListNode(tagLinkList* node) {
  if (node != nullptr) Append(node);
}

void CLinkList::Append(tagLinkList* node) {
  node->next = nullptr;
  node->prev = head == nullptr ? nullptr : tail;
  (head == nullptr ? head : tail->next) = node;
  tail = node;
  ++count;
  Changed();
}

void CLinkList::Changed() {
  ++revision_;
  if (watched_ != 0) wkagent::CountWatchedChange();
}
