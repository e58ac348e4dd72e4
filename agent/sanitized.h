#ifndef WKAGENT_AGENT_SANITIZED_H
#define WKAGENT_AGENT_SANITIZED_H

namespace wkagent {

// True in a build with a sanitizer, whose runtime traces the process to find leaks and starts a
// program to describe what it found.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif
#else
inline constexpr bool kSanitized = false;
#endif

}  // namespace wkagent

#endif  // WKAGENT_AGENT_SANITIZED_H
