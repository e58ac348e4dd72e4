#include <cstring>

#include <wkagent/core.h>

namespace wkagent {

void OwnedString::Assign(const char* text) {
  std::unique_ptr<char[]> copy;
  if (text != nullptr) {
    const std::size_t size = std::strlen(text) + 1;
    copy = std::make_unique<char[]>(size);
    std::memcpy(copy.get(), text, size);
  }
  text_ = std::move(copy);
}

}  // namespace wkagent
