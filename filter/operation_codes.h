#ifndef WKAGENT_FILTER_OPERATION_CODES_H
#define WKAGENT_FILTER_OPERATION_CODES_H

namespace wkagent {

// The first codes of the tables that statements keep.
constexpr int kFirstDirectoryOperation = 20001;
constexpr int kFirstLoginOperation = 21001;
constexpr int kFirstCondition = 705;

// A missing condition counts as the first one.
constexpr int EffectiveCondition(int condition) {
  return condition <= 0 ? kFirstCondition : condition;
}

// The place of a code in a table that begins with `first`; -1 for codes before that.
constexpr int PlaceOf(int code, int first) { return code < first ? -1 : code - first; }

}  // namespace wkagent

#endif  // WKAGENT_FILTER_OPERATION_CODES_H
