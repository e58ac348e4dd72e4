#ifndef WKAGENT_FUZZ_XML_READER_H
#define WKAGENT_FUZZ_XML_READER_H

// What the targets of readers of XML settings files share.

#include <string>
#include <string_view>

#include <libxml/tree.h>

#include "fuzz/fuzz.h"

namespace wkagent::fuzz {

// The text of a document, as libxml2 writes it in UTF-8.
inline std::string Written(xmlDoc* document) {
  xmlChar* text = nullptr;
  int size = 0;
  xmlDocDumpMemoryEnc(document, &text, &size, "UTF-8");
  std::string written(reinterpret_cast<const char*>(text), static_cast<std::size_t>(size));
  xmlFree(text);
  return written;
}

// Reads a file of these bytes. What `describe(reader)` says of it must also be true of the same
// document once it has been written anew.
template <typename Reader, typename Describe>
void CheckReader(std::string_view bytes, Describe describe) {
  static MemoryFile file;
  file.Replace(bytes);
  Reader reader;
  if (reader.ReadFile(file.Path()) != 0) {
    return Require(reader.GetReadError() != nullptr, "a file that is refused has a reason");
  }
  const std::string first = describe(reader);
  // Only the root element is what readers look at, and libxml2 does not write every DTD as it was.
  if (reader.document->intSubset != nullptr) return;
  file.Replace(Written(reader.document));
  Reader again;
  Require(again.ReadFile(file.Path()) == 0, "a document that was read can be read again");
  Require(describe(again) == first, "a document says the same when it is written anew");
}

}  // namespace wkagent::fuzz

#endif  // WKAGENT_FUZZ_XML_READER_H
