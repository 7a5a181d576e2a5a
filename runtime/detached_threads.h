// The detached threads that have not ended.
#ifndef TORVIK_RUNTIME_DETACHED_THREADS_H
#define TORVIK_RUNTIME_DETACHED_THREADS_H

#include <pthread.h>

/// Nobody joins a detached thread, so its id may be somebody else's as soon as
/// it has ended; and a worker that deletes itself leaves no object to ask. This
/// list knows which ids are still good to cancel. The caller holds a lock of
/// its own around each call.
class DetachedThreads
{
public:
    DetachedThreads() = default;
    DetachedThreads(const DetachedThreads&) = delete;
    DetachedThreads& operator=(const DetachedThreads&) = delete;

    /// A new thread, which waits for the caller's lock before it does anything.
    void Add(pthread_t thread) { m_first = new Entry{thread, kCreated, m_first}; }

    /// The thread itself, first thing: false when it was cancelled before it
    /// began. Any other thread may ask too, to no effect.
    bool Begin(pthread_t thread);

    /// The thread itself, last thing.
    void End(pthread_t thread) { Remove(Find(thread)); }

    /// Cancels the thread, unless it has ended.
    void Cancel(pthread_t thread);

private:
    enum State { kCreated, kCancelled, kBegun };
    struct Entry {
        pthread_t thread;
        State state;
        Entry* next;
    };

    Entry** Find(pthread_t thread);
    static void Remove(Entry** link);

    Entry* m_first = nullptr;
};

#endif
