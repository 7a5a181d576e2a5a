// The threads of workers that have been started and are not over.
#ifndef TORVIK_RUNTIME_STARTED_THREADS_H
#define TORVIK_RUNTIME_STARTED_THREADS_H

#include <pthread.h>

class pThread;

/// The system gives an ended thread's id to the next one, and a worker that
/// deletes itself leaves no object to ask. This list knows which thread is whose
/// and how far it has come: a worker and an id together name one entry, since an
/// id is good as long as its entry stands. The caller holds a lock of its own
/// around each call.
class StartedThreads
{
public:
    /// What becomes of a thread's entry when its body returns.
    enum class Ending {
        kForgotten,  ///< nobody joins it
        kKept,       ///< until Remove, by whoever has joined it
    };
    struct Entry {
        enum State { kFree, kCreated, kCancelled, kBegun, kReturned };

        State state;
        Ending ending;
        const pThread* worker;
        pthread_t thread;
        Entry* next;
    };

    StartedThreads() = default;
    StartedThreads(const StartedThreads&) = delete;
    StartedThreads& operator=(const StartedThreads&) = delete;

    /// Room for one more thread; null without memory, of which the driver's own
    /// threads need none.
    Entry* MakeEntry(const pThread* worker, Ending ending);
    void DiscardEntry(Entry* entry);
    /// A new thread, which waits for the caller's lock before it does anything.
    void Add(Entry* entry, pthread_t thread);

    /// The thread itself, first thing: false when it was cancelled before it
    /// began. Any thread that is not listed may go on.
    bool Begin(pthread_t thread);
    /// The thread itself, after its body.
    void End(pthread_t thread);
    /// The thread itself, in its body: its worker is gone, nobody will join it.
    void Abandon(const pThread* worker, pthread_t thread);

    /// The worker's body runs on this thread or is about to.
    bool Runs(const pThread* worker, pthread_t thread) const;
    /// Cancels the worker's thread, unless its body has returned.
    void Cancel(const pThread* worker, pthread_t thread);
    /// The worker's thread was joined.
    void Remove(const pThread* worker, pthread_t thread);

private:
    Entry** Find(pthread_t thread);
    Entry** Find(const pThread* worker, pthread_t thread);
    void Unlink(Entry** link);

    static constexpr unsigned kReserve = 16;

    Entry* m_first = nullptr;
    Entry m_reserve[kReserve] = {};
};

#endif
