#include "agent/change_header.h"

#include <algorithm>
#include <charconv>

#include "agent/distinguished_name.h"

namespace wkagent {
namespace {

// "IP=127.0.0.1:389" and "IP=[::1]:389" without port and brackets; "PATH=/run/ldapi" as its path.
std::string Address(std::string_view peer) {
  const std::size_t equals = peer.find('=');
  if (equals == std::string_view::npos) return std::string(peer);
  const bool isPath = peer.starts_with("PATH=");
  std::string_view address = peer.substr(equals + 1);
  if (!isPath) address = address.substr(0, address.rfind(':'));
  if (address.starts_with('[') && address.ends_with(']')) {
    address = address.substr(1, address.size() - 2);
  }
  return std::string(address);
}

bool IsPeer(std::string_view text) {
  return text.starts_with("IP=") || text.starts_with("PATH=") || text.starts_with("UNKNOWN=");
}

// Where the peer begins, as an offset of its leading blank; the length where there is none.
std::size_t FindPeer(std::string_view text) {
  // The last of them: a user's name may look like a peer.
  std::size_t blank = text.size();
  while (blank > 0 && (blank = text.rfind(' ', blank - 1)) != std::string_view::npos) {
    if (IsPeer(text.substr(blank + 1))) return blank;
  }
  return text.size();
}

// Each try reads both names, so their number is bounded: they may be megabytes of blanks.
constexpr int kMostBlanksInSuffix = 100;

// Splits "SUFFIX USER", both of which may hold blanks.
void SplitNames(std::string_view names, std::string_view entry, ChangeHeader& header) {
  header.suffix = names;
  std::size_t blank = names.find(' ');
  for (int blanks = 0; blanks <= kMostBlanksInSuffix && blank != std::string_view::npos;
       ++blanks, blank = names.find(' ', blank + 1)) {
    const std::string_view suffix = names.substr(0, blank);
    if (!IsAtOrBelow(entry, suffix)) continue;
    header.suffix = suffix;
    header.user = names.substr(blank + 1);
    return;
  }
}

}  // namespace

ChangeHeader ReadChangeHeader(std::string_view comment, std::string_view entry) {
  ChangeHeader header;
  comment.remove_prefix(std::min(comment.find(' '), comment.size() - 1) + 1);
  const char* const end = comment.data() + comment.size();
  const auto [rest, error] = std::from_chars(comment.data(), end, header.time);
  if (error != std::errc()) header.time = 0;
  comment.remove_prefix(static_cast<std::size_t>(rest - comment.data()));

  comment = comment.substr(0, comment.rfind(" conn="));
  const std::size_t peer = FindPeer(comment);
  if (peer < comment.size()) header.address = Address(comment.substr(peer + 1));
  comment = comment.substr(0, peer);
  if (comment.starts_with(' ')) SplitNames(comment.substr(1), entry, header);
  return header;
}

std::time_t ReadGeneralizedTime(std::string_view text) {
  constexpr std::size_t kLength = 14;
  const std::string digits(text.substr(0, kLength));
  if (digits.size() != kLength || !text.ends_with('Z') ||
      digits.find_first_not_of("0123456789") != std::string::npos) {
    return 0;
  }
  std::tm time{};
  const char* const end = strptime(digits.c_str(), "%Y%m%d%H%M%S", &time);
  if (end == nullptr || *end != '\0') return 0;
  return timegm(&time);
}

}  // namespace wkagent
