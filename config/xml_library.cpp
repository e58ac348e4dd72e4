#include "config/xml_library.h"

#include <mutex>

#include <libxml/xmlversion.h>

namespace wkagent {

void InitXmlLibrary() {
  static std::once_flag once;
  std::call_once(once, [] {
    LIBXML_TEST_VERSION
    xmlInitParser();
  });
}

}  // namespace wkagent
