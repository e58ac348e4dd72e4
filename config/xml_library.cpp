#include "config/xml_library.h"

#include <mutex>
#include <new>

#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlversion.h>

#include "config/entity_expansion.h"
#include "config/xml_attribute.h"

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

XmlParser NewXmlParser(int options) {
  XmlParser parser(xmlNewParserCtxt());
  if (parser == nullptr) return nullptr;
  // What it has from the host is only added to by what follows.
  parser->options = 0;
  xmlCtxtUseOptions(parser.get(), options);
  return parser;
}

XmlDoc ReadXmlFile(const char* path, int options) {
  InitXmlLibrary();
  xmlResetLastError();
  const XmlParser parser = NewXmlParser(options);
  if (parser == nullptr) return nullptr;
  XmlDoc document(xmlCtxtReadFile(parser.get(), path, nullptr, options));
  if (document == nullptr || RanOutOfMemory(*parser)) return nullptr;
  if (!ExpandsWithinBounds(document.get())) return nullptr;
  return document;
}

XmlText AttributeOf(const xmlNode* element, const char* name) {
  return WholeText([&] { return AttributeValue(element, name).release(); });
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
