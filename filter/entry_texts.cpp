#include "filter/entry_texts.h"

#include <cstring>

namespace wkagent {

std::vector<std::string> EntryTexts(const CLinkList& list, const ByteMap& map) {
  // Deliberate: zeroed once, so that a short entry is followed by the rest of an earlier one.
  char scratch[300] = {};
  std::vector<std::string> texts;
  for (const tagLinkList* node = list.head; node != nullptr; node = node->next) {
    if (node->size > static_cast<int>(sizeof(scratch))) break;
    if (node->size > 0) std::memcpy(scratch, node->data, static_cast<std::size_t>(node->size));
    std::string& text = texts.emplace_back(scratch, strnlen(scratch, sizeof(scratch)));
    for (char& byte : text) byte = static_cast<char>(map[static_cast<unsigned char>(byte)]);
  }
  return texts;
}

}  // namespace wkagent
