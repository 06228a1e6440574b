#ifndef TESSELU_TESTS_SUPPORT_SANITIZED_H
#define TESSELU_TESTS_SUPPORT_SANITIZED_H

// Defined where a sanitizer has allocation functions and memory of its own.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TESSELU_TEST_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TESSELU_TEST_SANITIZED 1
#endif
#endif

#endif  // TESSELU_TESTS_SUPPORT_SANITIZED_H
