#ifndef WKAGENT_AGENT_CHANGE_HEADER_H
#define WKAGENT_AGENT_CHANGE_HEADER_H

#include <ctime>
#include <string>
#include <string_view>

namespace wkagent {

// What the comment before a record of the change log says: "add TIME SUFFIX USER PEER conn=N".
// Views are into the comment.
struct ChangeHeader {
  std::time_t time = 0;     // 0 where there is none
  std::string_view suffix;  // the naming context
  std::string_view user;    // empty for an anonymous one
  std::string address;      // of the peer, without port
};

// Reads a header; `entry` is the name of the record's entry, which tells where a suffix with blanks
// ends.
[[nodiscard]] ChangeHeader ReadChangeHeader(std::string_view comment, std::string_view entry);

// The time of a UTC generalized time (RFC 4517, "20261120204603Z"); 0 where it is none.
[[nodiscard]] std::time_t ReadGeneralizedTime(std::string_view text);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHANGE_HEADER_H
