#ifndef GCUSCHEMA_TESTS_TOOL_SUPPORT_MEMORY_BOUNDS_H
#define GCUSCHEMA_TESTS_TOOL_SUPPORT_MEMORY_BOUNDS_H

// An address or thread sanitizer reserves terabytes of address space and
// keeps freed memory in quarantine: a bound on memory says nothing under it.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define GCUSCHEMA_MEMORY_BOUNDS_HOLD 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define GCUSCHEMA_MEMORY_BOUNDS_HOLD 0
#endif
#endif
#ifndef GCUSCHEMA_MEMORY_BOUNDS_HOLD
#define GCUSCHEMA_MEMORY_BOUNDS_HOLD 1
#endif

#endif
