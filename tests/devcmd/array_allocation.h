// Memory of arrays, seen and made to fail: replaces new[] and delete[] in the
// program it is linked into.
#ifndef TESTS_DEVCMD_ARRAY_ALLOCATION_H
#define TESTS_DEVCMD_ARRAY_ALLOCATION_H

#include <cstddef>

namespace array_allocation {

/// Lets the next non-throwing allocation on this thread yield nothing.
void FailNext();
/// Size of the last non-throwing allocation on this thread, bytes.
std::size_t LastSize();
/// Arrays from non-throwing allocations that were not freed.
int Live();

}  // namespace array_allocation

#endif
