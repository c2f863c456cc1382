// What the sanitizer builds cannot do, for the tests that need it.
#ifndef LUMO_TESTS_SUPPORT_SANITIZERS_H_INCLUDED
#define LUMO_TESTS_SUPPORT_SANITIZERS_H_INCLUDED

#include <gtest/gtest.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define LUMO_SANITIZER_ALLOCATOR 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define LUMO_SANITIZER_ALLOCATOR 1
#endif
#endif

// The address and thread sanitizers' operator new ends the program on an impossible size instead
// of throwing std::bad_alloc, so tests of that failure only run without them.
#ifdef LUMO_SANITIZER_ALLOCATOR
#define LUMO_SKIP_IF_ALLOCATION_FAILURE_CANNOT_THROW()                                                               \
    GTEST_SKIP() << "the sanitizer's operator new does not throw std::bad_alloc"
#else
#define LUMO_SKIP_IF_ALLOCATION_FAILURE_CANNOT_THROW() static_cast<void>(0)
#endif

#endif
