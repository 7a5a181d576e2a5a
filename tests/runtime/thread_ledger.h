// Which threads the runtime has created and how each was given back. The test
// program is linked with --wrap for the calls concerned, so only what is linked
// into it is seen: the threads of std::thread are not.
#ifndef TESTS_RUNTIME_THREAD_LEDGER_H
#define TESTS_RUNTIME_THREAD_LEDGER_H

#include <sys/types.h>

#include <functional>

namespace thread_ledger {

/// Forgets what was counted. Threads that exist stay known.
void Reset();

/// Threads created since Reset.
int Created();
/// Joins begun since Reset, the ones that only try included.
int Joins();
/// Joins and detachings since Reset of an id that names no thread which could
/// be joined: it was joined or detached before. They answer ESRCH, since the C
/// library's own answer to them is not defined.
int JoinsOfNoThread();
/// Threads that are there to be joined and that nobody has joined or detached.
int Joinable();

/// Lets the next pthread_create on this thread fail with EAGAIN.
void RefuseNextThread();
/// Runs on the creating thread when the next thread that it creates is there,
/// before pthread_create returns.
void AfterNextThread(std::function<void()> then);

/// The kernel's number of this thread.
pid_t OwnNumber();
/// Whether the kernel still has this thread: what the C library has of it is
/// free for another one when it has not.
bool Exists(pid_t thread);

}  // namespace thread_ledger

#endif
