// The driver's own memory, counted and made to fail: replaces new and delete in
// the program it is linked into. Allocations of the tests, of the stand-in and
// of the virtual camera go on as ever.
#ifndef TESTS_MEMORY_PRODUCT_HEAP_H
#define TESTS_MEMORY_PRODUCT_HEAP_H

#include <atomic>
#include <cstddef>
#include <functional>

namespace product_heap {

/// What came of a failure that was ordered.
struct Failure {
    std::atomic<bool> happened{false};
    std::atomic<bool> on_callers_thread{false};  ///< of FailNth or FailAll
    std::atomic<std::size_t> size{0};            ///< bytes asked for
};

/// The driver is the loaded file that this address lies in. What the standard
/// library allocates is its caller's. Before any thread is started.
void Watch(const void* address);
/// The same for a driver that is linked into the program: then only what is
/// allocated while the thread is in a Scope counts.
void WatchScopes();

class Scope {
public:
    Scope();
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
};

/// The nth allocation from now on, counted over all threads, yields nothing:
/// null or std::bad_alloc, as it was asked for.
void FailNth(std::size_t nth);
/// Every allocation of this thread from now on.
void FailAll();
void FailNone();

/// Of the last order. `in_shared_memory` keeps it where another process reads it.
const Failure& LastFailure();
void KeepFailureIn(Failure& in_shared_memory);
/// Called on the failing thread, before the allocation fails.
void OnFailure(std::function<void()> hook);

/// New memory has this in every byte; negative: whatever malloc left there.
void Fill(int byte);

/// Allocations that were not freed.
long Live();
/// Allocations since the program began.
long Total();

}  // namespace product_heap

#endif
