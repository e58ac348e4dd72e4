#ifndef WKAGENT_FILTER_FILTER_ELEMENTS_H
#define WKAGENT_FILTER_FILTER_ELEMENTS_H

// What the filter files of all kinds share: reading attributes, and the elements that configure the
// common part of a statement. Each kind of file adds a table of its own elements.

#include <string>

#include <wkagent/filter.h>

namespace wkagent {

// The text of an attribute, empty where it is missing. The reference holds until the next read.
[[nodiscard]] char* ReadText(WKConfigFile& file, _xmlNode* element, const char* attribute);

// The decimal number of an attribute, 0 where it is missing or no number. What an int cannot hold
// becomes the nearest that it can.
[[nodiscard]] int ReadNumber(WKConfigFile& file, _xmlNode* element, const char* attribute);

// True when the number is not 0.
[[nodiscard]] bool ReadFlag(WKConfigFile& file, _xmlNode* element, const char* attribute);

// The attributes that a `Filter` element of any kind has: title, flags and time window.
void ReadFilterElement(WKConfigFile& file, _xmlNode* element, WKFilterStatement& statement);

// The addressing of the mail alert.
void ReadSmtpElement(WKConfigFile& file, _xmlNode* element, WKFilterStatement& statement);

// Runs the handler of `Users`, `User`, `Action`, `SNMP` or `SysLog`; false for any other element.
bool ReadCommonElement(WKConfigFile& file, _xmlNode* element, WKFilterStatement& statement);

}  // namespace wkagent

#endif  // WKAGENT_FILTER_FILTER_ELEMENTS_H
