// What a lock guards, in words that the compiler checks.
#ifndef TORVIK_RUNTIME_THREAD_ANNOTATIONS_H
#define TORVIK_RUNTIME_THREAD_ANNOTATIONS_H

// Attributes of clang's thread-safety analysis; other compilers see nothing.
// scripts/check-locks checks the whole library with them. The analysis looks at
// one function at a time, knows of calls what their declarations say, and keeps
// away from constructors and destructors. A recursive lock that is taken twice
// in sight is a warning: what is called with the lock held says REQUIRES
// instead of taking it again. What is called both ways says nothing and takes
// it.

#if defined(__clang__)
#define TORVIK_THREAD_ANNOTATION(attribute) __attribute__((attribute))
#else
#define TORVIK_THREAD_ANNOTATION(attribute)
#endif

/// A class whose objects are locks; the text is how warnings call them.
#define CAPABILITY(text) TORVIK_THREAD_ANNOTATION(capability(text))
/// A class whose objects hold locks from construction to destruction.
#define SCOPED_CAPABILITY TORVIK_THREAD_ANNOTATION(scoped_lockable)

// Members and variables.

/// Read and written with the lock held; with all of them when said twice.
#define GUARDED_BY(lock) TORVIK_THREAD_ANNOTATION(guarded_by(lock))
/// The same of what a pointer points to.
#define PT_GUARDED_BY(lock) TORVIK_THREAD_ANNOTATION(pt_guarded_by(lock))
/// Of locks: who takes both takes this one first, or second.
#define ACQUIRED_BEFORE(...) TORVIK_THREAD_ANNOTATION(acquired_before(__VA_ARGS__))
#define ACQUIRED_AFTER(...) TORVIK_THREAD_ANNOTATION(acquired_after(__VA_ARGS__))

// Functions. Without an argument the lock is the object itself.

/// The caller holds the locks.
#define REQUIRES(...) TORVIK_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
/// The caller does not hold them: the function sleeps, or waits for somebody
/// who takes them.
#define EXCLUDES(...) TORVIK_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
/// Takes the locks, gives them back; TRY_ACQUIRE takes them when it returns its
/// first argument.
#define ACQUIRE(...) TORVIK_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) TORVIK_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define TRY_ACQUIRE(...) TORVIK_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
/// After the call the locks count as held: for what a declaration cannot say.
#define ASSERT_CAPABILITY(lock) TORVIK_THREAD_ANNOTATION(assert_capability(lock))
/// Returns a reference to the lock.
#define RETURN_CAPABILITY(lock) TORVIK_THREAD_ANNOTATION(lock_returned(lock))
/// The function's own body is not looked at, its callers are. Only for locks
/// themselves and for accessors of a line, whose comment names the rule that
/// stands in for a lock.
#define NO_THREAD_SAFETY_ANALYSIS TORVIK_THREAD_ANNOTATION(no_thread_safety_analysis)

#endif
