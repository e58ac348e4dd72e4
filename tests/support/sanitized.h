#ifndef WKAGENT_TESTS_SUPPORT_SANITIZED_H
#define WKAGENT_TESTS_SUPPORT_SANITIZED_H

// WKAGENT_TEST_SANITIZED is defined where a sanitizer makes the program slower and larger than the
// one that ships.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define WKAGENT_TEST_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define WKAGENT_TEST_SANITIZED
#endif
#endif

#endif  // WKAGENT_TESTS_SUPPORT_SANITIZED_H
