#include "support/conservation.h"

#include <sstream>
#include <vector>

#include <gtest/gtest.h>

namespace wkagent::test {
namespace {

// What the agent prints at a time.
struct Account {
  long read = 0;
  long malformed = 0;
  long kept = 0;
  long dropped = 0;
  bool forwards = false;
  long sent = 0;
  long stored = 0;
  long lost = 0;
  long waiting = 0;
  long again = 0;
};

// The number behind a word; the test fails where there is none.
long Figure(const std::string& line, const std::string& word) {
  const std::size_t found = line.find(word);
  long figure = -1;
  if (found != std::string::npos) std::istringstream(line.substr(found + word.size())) >> figure;
  EXPECT_GE(figure, 0) << word << "in: " << line;
  return figure;
}

std::vector<Account> AccountsIn(const std::string& output) {
  std::vector<Account> accounts;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("wkagentd: totals: ")) {
      accounts.push_back({.read = Figure(line, "read "),
                          .malformed = Figure(line, "malformed "),
                          .kept = Figure(line, "kept "),
                          .dropped = Figure(line, "dropped ")});
    } else if (line.starts_with("wkagentd: syslog: ") && !accounts.empty()) {
      Account& account = accounts.back();
      account.forwards = true;
      account.sent = Figure(line, "sent ");
      account.stored = Figure(line, "stored ");
      account.lost = Figure(line, "lost ");
      account.waiting = Figure(line, "waiting ");
    } else if (line.starts_with("wkagentd: again: ") && !accounts.empty()) {
      accounts.back().again = Figure(line, "forwarded ");
    }
  }
  return accounts;
}

}  // namespace

void ExpectConserved(const std::string& output) {
  for (const Account& account : AccountsIn(output)) {
    EXPECT_EQ(account.read, account.kept + account.dropped) << output;
    if (!account.forwards) continue;
    EXPECT_EQ(account.kept + account.again,
              account.sent + account.stored + account.lost + account.waiting)
        << output;
  }
}

void ExpectConserved(const std::string& output, long entries, long records) {
  ExpectConserved(output);
  const std::vector<Account> accounts = AccountsIn(output);
  ASSERT_FALSE(accounts.empty()) << output;
  EXPECT_EQ(entries, accounts.back().read + accounts.back().malformed) << output;
  EXPECT_EQ(records, accounts.back().kept) << output;
}

}  // namespace wkagent::test
