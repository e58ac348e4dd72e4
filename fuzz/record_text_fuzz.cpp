// Values of a record's attributes, a zero byte behind each: the text must be what the text writer
// of libxml2 makes of them.

#include "output/record_text.h"

#include <memory>
#include <vector>

#include <libxml/xmlwriter.h>

#include "fuzz/fuzz.h"

namespace wkagent::fuzz {
namespace {

struct Freer {
  void operator()(xmlBuffer* buffer) const { xmlBufferFree(buffer); }
  void operator()(xmlTextWriter* writer) const { xmlFreeTextWriter(writer); }
};

const xmlChar* Xml(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

std::string WrittenByLibrary(const std::vector<std::string>& values) {
  const std::unique_ptr<xmlBuffer, Freer> buffer(xmlBufferCreate());
  std::unique_ptr<xmlTextWriter, Freer> writer(xmlNewTextWriterMemory(buffer.get(), 0));
  xmlTextWriterSetIndent(writer.get(), 1);
  xmlTextWriterSetIndentString(writer.get(), Xml("  "));
  for (const char* element : {"Root", "Group", "Record"}) {
    xmlTextWriterStartElement(writer.get(), Xml(element));
  }
  for (const std::string& value : values) {
    xmlTextWriterWriteAttribute(writer.get(), Xml("Value"), Xml(value.c_str()));
  }
  xmlTextWriterEndElement(writer.get());
  writer.reset();
  return reinterpret_cast<const char*>(xmlBufferContent(buffer.get()));
}

}  // namespace
}  // namespace wkagent::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent;
  using namespace wkagent::fuzz;
  constexpr std::size_t kMostValues = 10;
  Parts parts(data, size);
  std::vector<std::string> values;
  while (!parts.IsEmpty() && values.size() < kMostValues) {
    values.push_back(parts.Next().substr(0, 150));
  }
  RecordText record;
  record.Begin("Record");
  for (const std::string& value : values) record.Attribute("Value", value);
  record.End();
  const std::string written = WrittenByLibrary(values);
  const std::string expected = written.substr(written.find("    <Record"));
  Require(record.View() == expected, "a record's text is what libxml2 would write");
  return 0;
}
