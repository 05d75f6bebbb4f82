// Names for clang's thread-safety attributes; other compilers see nothing.
// Source: https://clang.llvm.org/docs/ThreadSafetyAnalysis.html
#pragma once

#if defined(__clang__)
#define VORN_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define VORN_THREAD_ATTRIBUTE(x)
#endif

#define VORN_CAPABILITY(name) VORN_THREAD_ATTRIBUTE(capability(name))
#define VORN_SCOPED_CAPABILITY VORN_THREAD_ATTRIBUTE(scoped_lockable)
#define VORN_GUARDED_BY(lock) VORN_THREAD_ATTRIBUTE(guarded_by(lock))
#define VORN_REQUIRES(...) VORN_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define VORN_REQUIRES_SHARED(...) VORN_THREAD_ATTRIBUTE(requires_shared_capability(__VA_ARGS__))
#define VORN_ACQUIRE(...) VORN_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define VORN_ACQUIRE_SHARED(...) VORN_THREAD_ATTRIBUTE(acquire_shared_capability(__VA_ARGS__))
#define VORN_RELEASE(...) VORN_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define VORN_RELEASE_SHARED(...) VORN_THREAD_ATTRIBUTE(release_shared_capability(__VA_ARGS__))
#define VORN_NO_THREAD_SAFETY_ANALYSIS VORN_THREAD_ATTRIBUTE(no_thread_safety_analysis)
