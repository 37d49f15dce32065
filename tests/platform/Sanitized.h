#pragma once

// Whether this program is built with the address or the thread sanitizer, which make system calls of their
// own and turn a crash into a report.

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define MW_SANITIZED 1
#elif defined(__has_feature)
#define MW_SANITIZED (__has_feature(address_sanitizer) || __has_feature(thread_sanitizer))
#else
#define MW_SANITIZED 0
#endif
