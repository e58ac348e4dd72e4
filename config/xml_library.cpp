#include "config/xml_library.h"

#include <mutex>
#include <new>
#include <utility>

#include <libxml/parserInternals.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlversion.h>

namespace wkagent {
namespace {

bool IsOutOfMemory(const xmlError* error) {
  return error != nullptr && error->code == XML_ERR_NO_MEMORY;
}

// The text that `read` gives, whole or not at all.
template <typename Read>
XmlText WholeText(Read read) {
  xmlResetLastError();
  XmlText text(reinterpret_cast<char*>(read()));
  if (RanOutOfMemory()) throw std::bad_alloc();
  return text;
}

}  // namespace

bool RanOutOfMemory() { return IsOutOfMemory(xmlGetLastError()); }

bool RanOutOfMemory(const xmlParserCtxt& parser) {
  return parser.errNo == XML_ERR_NO_MEMORY || IsOutOfMemory(&parser.lastError) || RanOutOfMemory();
}

XmlDoc ReadXmlFile(const char* path, int options) {
  xmlResetLastError();
  const XmlParser parser(xmlCreateURLParserCtxt(path, options));
  if (parser == nullptr) return nullptr;
  xmlParseDocument(parser.get());
  XmlDoc document(std::exchange(parser->myDoc, nullptr));
  if (parser->wellFormed == 0 || RanOutOfMemory(*parser)) return nullptr;
  return document;
}

XmlText AttributeOf(const xmlNode* element, const char* name) {
  return WholeText([&] { return xmlGetProp(element, reinterpret_cast<const xmlChar*>(name)); });
}

XmlText ContentOf(const xmlNode* element) {
  return WholeText([&] { return xmlNodeGetContent(element); });
}

void InitXmlLibrary() {
  static std::once_flag once;
  std::call_once(once, [] {
    LIBXML_TEST_VERSION
    xmlInitParser();
  });
}

}  // namespace wkagent
