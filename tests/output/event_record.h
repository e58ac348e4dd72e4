#ifndef WKAGENT_TESTS_OUTPUT_EVENT_RECORD_H
#define WKAGENT_TESTS_OUTPUT_EVENT_RECORD_H

// Event records, and what their elements must hold.

#include <cstring>
#include <ctime>
#include <random>
#include <string>

#include <wkagent/output.h>

#include "output/audit_file.h"

namespace wkagent::test {

// Fills a field, without a terminator where `text` is as long as the field or longer.
template <std::size_t kSize>
void Fill(char (&field)[kSize], const std::string& text) {
  std::memset(field, 0, kSize);
  text.copy(field, kSize);
}

// Calls `visit` with each text field.
template <typename Event, typename Visitor>
void ForEachField(Event& event, Visitor visit) {
  visit(event.UserName);
  visit(event.NodeAddress);
  visit(event.Class1);
  visit(event.Object1);
  visit(event.Attribute1);
  visit(event.AttributeValue);
  visit(event.Class2);
  visit(event.Object2);
  visit(event.ServerName);
  visit(event.TreeName);
}

// What the text of a field of `size` bytes may be made of.
enum class Texts {
  kValid,  // UTF-8 without control characters but tab and line ends
  kAny,    // any bytes but zero; a character may be cut by the end of the field
};

// A record that has every field.
tagWKEventData SampleEvent();

// A record with random contents.
tagWKEventData RandomEvent(std::mt19937& random, Texts texts);

// The attributes of the record's element, as a directory event and as a login; texts are taken up
// to a zero byte or the field's end.
Attributes ExpectedAttributes(const tagWKEventData& event);
Attributes ExpectedLoginAttributes(const tagWKEventData& event);

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_OUTPUT_EVENT_RECORD_H
