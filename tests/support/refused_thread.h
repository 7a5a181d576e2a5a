// A thread that the system refuses to create.
#ifndef TESTS_SUPPORT_REFUSED_THREAD_H
#define TESTS_SUPPORT_REFUSED_THREAD_H

namespace test_support {

/// Lets the next pthread_create on this thread fail with EAGAIN. Only for what
/// is linked into a program with --wrap=pthread_create.
void RefuseNextThread();

}  // namespace test_support

#endif
