#ifndef WKAGENT_CONFIG_XML_LIBRARY_H
#define WKAGENT_CONFIG_XML_LIBRARY_H

#include <memory>

#include <libxml/parser.h>
#include <libxml/tree.h>

namespace wkagent {

struct XmlDocFreer {
  void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
struct XmlParserFreer {
  void operator()(xmlParserCtxt* parser) const { xmlFreeParserCtxt(parser); }
};
struct XmlTextFreer {
  void operator()(char* text) const { xmlFree(text); }
};

using XmlDoc = std::unique_ptr<xmlDoc, XmlDocFreer>;
using XmlParser = std::unique_ptr<xmlParserCtxt, XmlParserFreer>;
using XmlText = std::unique_ptr<char, XmlTextFreer>;

// libxml2 does not always say that it ran out of memory: a document is cut short where that came,
// and a text is missing or cut. These functions say it.

// True where a call of this thread ran out of memory after xmlResetLastError.
[[nodiscard]] bool RanOutOfMemory();

// True where the parser did, so that its document is not to be trusted.
[[nodiscard]] bool RanOutOfMemory(const xmlParserCtxt& parser);

// A parser that loads nothing from outside of its file, whatever the host's defaults for parsers
// are. Null where memory ran out. `options` are those of libxml2.
[[nodiscard]] XmlParser NewXmlParser(int options);

// As xmlReadFile, with such a parser. Null also where memory ran out, and where the file's entities
// stand for too much text.
[[nodiscard]] XmlDoc ReadXmlFile(const char* path, int options);

// As xmlGetProp and xmlNodeGetContent; null where there is no such attribute. Both throw
// std::bad_alloc.
[[nodiscard]] XmlText AttributeOf(const xmlNode* element, const char* name);
[[nodiscard]] XmlText ContentOf(const xmlNode* element);

// Prepares libxml2 for use from any thread and checks its version, once a process.
//
// The library never calls xmlCleanupParser: it would take the global state from under every other
// thread that parses, the host's own included. libxml2 releases that state when it is unloaded.
void InitXmlLibrary();

}  // namespace wkagent

#endif  // WKAGENT_CONFIG_XML_LIBRARY_H
