// Where each thread of the process is.
#ifndef TESTS_PAIRS_STACKS_H
#define TESTS_PAIRS_STACKS_H

#include <string>

#include "tests/pairs/callers.h"

namespace pairs {

/// To be called before there are threads.
void PrepareStacks();

/// Writes the stack of every thread but the calling one, with its name and last
/// call. The frames are places in files; NameFrames makes functions of them.
void WriteStacks(int file, const Callers& callers);

/// Has a crash write the stack of the thread that crashed, before the process
/// ends of it. Leaves crashes to the sanitizers where there are any.
void WriteStackOfCrash(int file);

/// Replaces frames by the functions they are in, as far as they are known.
std::string NameFrames(const std::string& text);

}  // namespace pairs

#endif
