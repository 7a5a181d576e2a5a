// Holding or delaying a thread between two steps of its own, wherever these
// are: not at a place in the code, but at the nth one that others can notice.
//
// For programs linked with --wrap for pthread_mutex_lock, pthread_mutex_unlock,
// pthread_create, pthread_join, pthread_tryjoin_np and fread.
#ifndef TESTS_CAMERA_HELD_THREAD_H
#define TESTS_CAMERA_HELD_THREAD_H

#include <atomic>
#include <memory>

#include "tests/video/gate.h"

namespace held_thread {

/// Shared with the thread, so that one that must not go on may be left in it.
struct Hold {
    Gate gate;
    std::atomic<bool> reached{false};
};

/// The calling thread waits at its nth step from now on, from 1. A step lies
/// before a mutex is taken, behind one that was given back, and before and
/// behind the making and the joining of a thread.
void AtStep(int nth, std::shared_ptr<Hold> hold);
/// The calling thread waits before its nth read of a file from now on, from 1.
void AtRead(int nth, std::shared_ptr<Hold> hold);
/// The calling thread is late at every step from now on, by 200 us at most.
void Dawdle(unsigned seed);
/// The calling thread goes on undisturbed.
void Nowhere();

/// Of the threads that the objects linked into this program made: how many so
/// far, and how many have not come to their end.
int ThreadsMade();
int ThreadsRunning();

}  // namespace held_thread

#endif
