// Names for clang's thread-safety attributes: which lock guards a field, which lock a function
// takes. They cost nothing and mean nothing to other compilers; the lint build checks them.
#pragma once

#if defined(__clang__)
#define SS_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define SS_THREAD_ATTRIBUTE(x)
#endif

#define SS_CAPABILITY(name) SS_THREAD_ATTRIBUTE(capability(name))
#define SS_SCOPED_CAPABILITY SS_THREAD_ATTRIBUTE(scoped_lockable)
#define SS_GUARDED_BY(mutex) SS_THREAD_ATTRIBUTE(guarded_by(mutex))
#define SS_REQUIRES(...) SS_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define SS_ACQUIRE(...) SS_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define SS_RELEASE(...) SS_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
