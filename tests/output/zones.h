#ifndef WKAGENT_TESTS_OUTPUT_ZONES_H
#define WKAGENT_TESTS_OUTPUT_ZONES_H

namespace wkagent::test {

// Time zones as POSIX rules, so that no table of zones need be installed.
inline constexpr char kNewYork[] = "EST5EDT,M3.2.0,M11.1.0";
inline constexpr char kKathmandu[] = "<+0545>-5:45";
inline constexpr char kLordHowe[] = "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0";

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_OUTPUT_ZONES_H
