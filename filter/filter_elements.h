#ifndef WKAGENT_FILTER_FILTER_ELEMENTS_H
#define WKAGENT_FILTER_FILTER_ELEMENTS_H

// What the readers of all kinds of filter files share. A reader has a table of its elements, each
// of which hands one attribute to one setter of the current statement, and three handlers of its
// own.

#include <memory>
#include <span>

#include <wkagent/filter.h>

#include "config/xml_walk.h"

namespace wkagent {

// The text of an attribute, empty where it is missing. Valid until the next read.
[[nodiscard]] char* ReadText(WKConfigFile& file, _xmlNode* element, const char* attribute);

// The decimal number of an attribute, 0 where it is missing or no number.
[[nodiscard]] int ReadNumber(WKConfigFile& file, _xmlNode* element, const char* attribute);

// True when the number is not 0.
[[nodiscard]] bool ReadFlag(WKConfigFile& file, _xmlNode* element, const char* attribute);

// The attributes that a `Filter` element of any kind has: title, flags and time window.
void ReadFilterElement(WKConfigFile& file, _xmlNode* element, WKFilterStatement& statement);

// The addressing of the mail alert.
void ReadSmtpElement(WKConfigFile& file, _xmlNode* element, WKFilterStatement& statement);

template <typename Statement>
struct FlagElement {
  const char* name;
  const char* attribute;
  void (Statement::*set)(bool);
};

template <typename Statement>
struct TextElement {
  const char* name;
  const char* attribute;
  void (Statement::*add)(char*);
};

template <typename Reader, typename Statement>
struct FilterGrammar {
  void (Reader::*readFilter)(_xmlNode*);     // `Filter`
  void (Reader::*readOperation)(_xmlNode*);  // `Operation`
  void (Reader::*readSmtp)(_xmlNode*);       // `SMTP`
  std::span<const FlagElement<Statement>> flags;
  std::span<const TextElement<Statement>> texts;
};

// Hands an element, its following siblings and all below them to `reader`. Elements before the
// first `Filter` configure nothing.
template <typename Reader, typename Statement>
void ReadElements(Reader& reader, _xmlNode* first,
                  const FilterGrammar<Reader, Statement>& grammar) {
  WalkElements(first, [&](_xmlNode* element) {
    if (HasName(element, "Filter")) return (reader.*grammar.readFilter)(element);
    if (reader.currentStatement == nullptr) return;
    Statement& statement = *reader.currentStatement;
    if (HasName(element, "Operation")) return (reader.*grammar.readOperation)(element);
    if (HasName(element, "SMTP")) return (reader.*grammar.readSmtp)(element);
    for (const auto& entry : grammar.flags) {
      if (!HasName(element, entry.name)) continue;
      (statement.*entry.set)(ReadFlag(reader, element, entry.attribute));
    }
    for (const auto& entry : grammar.texts) {
      if (!HasName(element, entry.name)) continue;
      (statement.*entry.add)(ReadText(reader, element, entry.attribute));
    }
  });
}

// Appends a new statement, with the reader's callback, to the reader's list.
template <typename Statement>
[[nodiscard]] Statement* BeginStatement(WKConfigFile& reader) {
  auto statement = std::make_unique<Statement>();
  statement->InitializeLogMessage(reader.logCallback);
  Statement* pointer = statement.get();
  reader.list.AddNode(&pointer, sizeof(pointer));
  return statement.release();
}

// The first `handedOver` statements of a reader's list belong to someone else. These hand over all
// the others, and release them.
void HandOverStatements(CLinkList& list, int& handedOver, CLinkList& out);
void ReleaseOwnStatements(CLinkList& list, int& handedOver);

}  // namespace wkagent

#endif  // WKAGENT_FILTER_FILTER_ELEMENTS_H
