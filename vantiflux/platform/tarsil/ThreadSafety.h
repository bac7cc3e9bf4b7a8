#pragma once

/// Clang's thread-safety annotations; with other compilers they vanish.
#if defined(__clang__)
#define TARSIL_ANNOTATE(x) __attribute__((x))
#else
#define TARSIL_ANNOTATE(x)
#endif

#define TARSIL_CAPABILITY(name) TARSIL_ANNOTATE(capability(name))
#define TARSIL_SCOPED_CAPABILITY TARSIL_ANNOTATE(scoped_lockable)
#define TARSIL_GUARDED_BY(...) TARSIL_ANNOTATE(guarded_by(__VA_ARGS__))
#define TARSIL_REQUIRES(...) TARSIL_ANNOTATE(requires_capability(__VA_ARGS__))
#define TARSIL_ACQUIRE(...) TARSIL_ANNOTATE(acquire_capability(__VA_ARGS__))
#define TARSIL_RELEASE(...) TARSIL_ANNOTATE(release_capability(__VA_ARGS__))
#define TARSIL_TRY_ACQUIRE(...) TARSIL_ANNOTATE(try_acquire_capability(__VA_ARGS__))
#define TARSIL_RETURN_CAPABILITY(x) TARSIL_ANNOTATE(lock_returned(x))
#define TARSIL_NO_ANALYSIS TARSIL_ANNOTATE(no_thread_safety_analysis)
