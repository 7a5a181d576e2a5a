// Counts heap allocations and formatted output of the whole process.
#ifndef TORVIK_BENCH_ALLOCATIONS_H
#define TORVIK_BENCH_ALLOCATIONS_H

#include <cstdint>

namespace bench {

struct Counts {
    std::uint64_t allocations;
    std::uint64_t allocated_bytes;
    std::uint64_t formatted;  ///< calls of the printf family
};

Counts CountsNow();

}  // namespace bench

#endif
