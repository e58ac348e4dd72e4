#ifndef WKAGENT_FILTER_POINTER_LIST_H
#define WKAGENT_FILTER_POINTER_LIST_H

#include <cstring>

#include <wkagent/alert.h>
#include <wkagent/filter.h>

namespace wkagent {

// Calls `visit(T*)` for every object that a list of 8-byte pointers names; its cursor stays.
template <typename T, typename Visit>
void ForEachObject(const CLinkList& list, Visit visit) {
  for (const tagLinkList* node = list.head; node != nullptr; node = node->next) {
    T* object = nullptr;
    if (node->size < static_cast<int>(sizeof(object))) continue;
    std::memcpy(&object, node->data, sizeof(object));
    if (object != nullptr) visit(object);
  }
}

// Empty a list and release its objects: first what they own, then their plain memory.
inline void ReleaseStatements(CLinkList& list) {
  ForEachObject<WKFilterStatement>(list,
                                   [](WKFilterStatement* statement) { statement->ReleaseOwned(); });
  list.ClearList(1);
}

inline void ReleaseAlerts(CLinkList& list) {
  ForEachObject<AlertWrapper>(list, [](AlertWrapper* wrapper) {
    const std::unique_ptr<WKSMTPAlertObject> settings(wrapper->GetSMTPAlertInfo());
    wrapper->SetSMTPAlert(nullptr);
  });
  list.ClearList(1);
}

}  // namespace wkagent

#endif  // WKAGENT_FILTER_POINTER_LIST_H
