#ifndef WKAGENT_TESTS_SUPPORT_CONSERVATION_H
#define WKAGENT_TESTS_SUPPORT_CONSERVATION_H

#include <string>

namespace wkagent::test {

// Expects that the agent has accounted for everything in each of the totals that it printed: an
// event that was read was written or dropped, and a line that was taken for the syslog collector
// was sent, stored or lost, or waits.
void ExpectConserved(const std::string& output);

// The same of one run and its feed: each of the entries that it read is an event or malformed, and
// each record of its files is one that it kept.
void ExpectConserved(const std::string& output, long entries, long records);

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_CONSERVATION_H
