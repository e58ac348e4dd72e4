#ifndef WKAGENT_ALERT_CURRENT_OBJECT_H
#define WKAGENT_ALERT_CURRENT_OBJECT_H

#include <algorithm>
#include <atomic>
#include <string>
#include <vector>

#include <wkagent/mutex.h>

#include "alert/spool_file.h"

namespace wkagent {

// The objects of a class that are alive. The public pointer to the current one outlives it, so it
// is followed only where the object is still there. Any thread may use it.
template <typename T>
class CurrentObject {
 public:
  explicit CurrentObject(T*& pointer) : pointer_(pointer) {}

  void Enter(T* object) {
    const MutexLock lock(mutex_);
    alive_.push_back(object);
    std::atomic_ref<T*>(pointer_).store(object);
  }

  void Leave(T* object) {
    const MutexLock lock(mutex_);
    std::erase(alive_, object);
  }

  // Null where there is none, or it has ended.
  [[nodiscard]] T* Get() {
    const MutexLock lock(mutex_);
    T* const object = std::atomic_ref<T*>(pointer_).load();
    return std::find(alive_.begin(), alive_.end(), object) == alive_.end() ? nullptr : object;
  }

 private:
  T*& pointer_;
  Mutex mutex_;
  std::vector<T*> alive_ WKAGENT_GUARDED_BY(mutex_);
};

// What the static entries do: the current object, if there is one, replays the spool file of this
// name.
template <typename T>
void ReplayThrough(T* object, const char* name) {
  if (object == nullptr) return;
  std::string path = SpoolPath(*object, name);
  if (!path.empty()) object->Deserialize(path.data());
}

}  // namespace wkagent

#endif  // WKAGENT_ALERT_CURRENT_OBJECT_H
