#ifndef WKAGENT_CONFIG_XML_LIBRARY_H
#define WKAGENT_CONFIG_XML_LIBRARY_H

#include <memory>

#include <libxml/parser.h>

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

// Prepares libxml2 for use from any thread and checks its version, once a process.
//
// The library never calls xmlCleanupParser: it would take the global state from under every other
// thread that parses, the host's own included. libxml2 releases that state when it is unloaded.
void InitXmlLibrary();

}  // namespace wkagent

#endif  // WKAGENT_CONFIG_XML_LIBRARY_H
