#ifndef WKAGENT_AGENT_FEED_H
#define WKAGENT_AGENT_FEED_H

#include <cstdint>
#include <string_view>

#include <wkagent/output.h>

#include "agent/feed_place.h"

namespace wkagent {

// Takes what a feed finds, in the order of the input.
class FeedSink {
 public:
  virtual ~FeedSink() = default;

  // One event. Its texts are UTF-8 that XML can carry, cut to their fields.
  virtual void OnEvent(tagWKEventData& event) = 0;

  // An entry that cannot be understood, with the line that it fails at, 0 where there are no lines.
  // `reason` holds no values of the input: they may be secret.
  virtual void OnMalformed(long line, std::string_view reason) = 0;

  // Of a feed that reads a file: what has been handed over lies before this byte and in the lines
  // up to this one, and a fresh feed that begins here finds what this one will.
  virtual void OnBoundary(std::int64_t /*offset*/, long /*line*/) {}

  // What lies before this place of a file has been handed over, and so many events and malformed
  // entries behind it.
  virtual void OnPlace(const FeedPlace& /*place*/, std::int64_t /*items*/) {}

  // The events of an entry of an access log follow.
  virtual void OnEntryBegun(std::string_view /*id*/) {}

  // All events of an entry of an access log have been handed over; see LogPosition.
  virtual void OnEntryRead(std::string_view /*csn*/, std::string_view /*id*/) {}

  // Something that the operator must see to, as it is to be printed.
  virtual void OnProblem(std::string_view /*what*/) {}
};

// A feed turns the bytes of one kind of input into events. It is handed the input in blocks of any
// size, cut anywhere, and reports each entry to its sink as soon as that is complete.
class Feed {
 public:
  virtual ~Feed() = default;

  // Begins behind so many bytes and lines of the input, at a boundary. Before the first block.
  virtual void StartAt(std::int64_t offset, long line) = 0;

  virtual void Take(std::string_view block) = 0;

  // The input has ended: reports what is left and makes ready for another input, whose first line
  // is line 1.
  virtual void Finish() = 0;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_FEED_H
