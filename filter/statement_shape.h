#ifndef WKAGENT_FILTER_STATEMENT_SHAPE_H
#define WKAGENT_FILTER_STATEMENT_SHAPE_H

// A statement and an event as StatementIndex sees them, whatever their kind.

#include <array>
#include <cstdint>
#include <string_view>

#include <wkagent/core.h>

namespace wkagent {

constexpr std::size_t kMostLists = 6;
constexpr int kMostKeys = 16;

struct StatementShape {
  struct List {
    CLinkList* entries = nullptr;
    bool all = true;  // no restriction
  };

  bool isPlain = false;  // follows the rules alone; a derived class may have others
  bool enabled = false;
  bool anyKey = false;     // covers every operation
  std::uint32_t keys = 0;  // else a bit for each that it covers
  std::array<List, kMostLists> lists;
  bool anyContext = true;    // no restriction
  bool subContexts = false;  // the context is looked for in the event's; else they must be equal
  const char* context = nullptr;
};

struct EventShape {
  struct Text {
    // What a statement with a list says of an event that has no such text.
    enum class Missing : std::uint8_t { kFails, kPasses };

    Text() = default;
    Text(const char* text, Missing missing)
        : value(text == nullptr ? std::string_view() : std::string_view(text)),
          isMissing(text == nullptr),
          passesMissing(missing == Missing::kPasses) {}
    explicit Text(std::string_view text) : value(text) {}

    std::string_view value;
    bool isMissing = false;
    bool passesMissing = false;
  };

  int key = -1;                        // any other than 0 to 15: only statements on all operations
  std::array<Text, kMostLists> texts;  // in the order of the statement's lists
  std::string_view context;
};

}  // namespace wkagent

#endif  // WKAGENT_FILTER_STATEMENT_SHAPE_H
