// Scheduling priority of the calling thread.
#ifndef TORVIK_RUNTIME_THREAD_PRIORITY_H
#define TORVIK_RUNTIME_THREAD_PRIORITY_H

/// Sets the calling thread's nice value to -19; threads it creates inherit it.
/// False when the process may not (the fatal hook was told).
bool RaiseThreadPriority();

#endif
