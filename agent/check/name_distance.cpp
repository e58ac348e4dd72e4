#include "agent/check/name_distance.h"

#include <algorithm>
#include <cctype>
#include <numeric>

namespace wkagent {
namespace {

constexpr std::size_t kFarthest = 2;

bool SameLetter(char left, char right) {
  return std::tolower(static_cast<unsigned char>(left)) ==
         std::tolower(static_cast<unsigned char>(right));
}

}  // namespace

std::size_t NameDistance(std::string_view left, std::string_view right) {
  // row[j] is the distance of what of `left` has been seen to the first j letters of `right`.
  std::vector<std::size_t> row(right.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (const char letter : left) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 1; j < row.size(); ++j) {
      const std::size_t replaced = diagonal + (SameLetter(letter, right[j - 1]) ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row.back();
}

std::string_view NearestName(std::string_view name,
                             const std::vector<std::string_view>& candidates) {
  std::string_view nearest;
  std::size_t least = kFarthest + 1;
  for (const std::string_view candidate : candidates) {
    const std::size_t distance = NameDistance(name, candidate);
    if (distance >= std::min({least, name.size(), candidate.size()})) continue;
    nearest = candidate;
    least = distance;
  }
  return nearest;
}

}  // namespace wkagent
