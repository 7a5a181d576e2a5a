// What must hold, whatever the input.
#ifndef FUZZ_CHECK_H
#define FUZZ_CHECK_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// Ends the run as a finding.
#define FUZZ_CHECK(condition)                                                           \
    do {                                                                                \
        if (!(condition)) {                                                             \
            std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                               \
        }                                                                               \
    } while (false)

namespace fuzz {

/// Reads every byte, for the address sanitizer to see.
inline void ReadAll(const std::uint8_t* data, std::size_t size)
{
    unsigned sum = 0;
    for (std::size_t i = 0; i < size; ++i)
        sum += data[i];
    volatile unsigned sink = sum;
    static_cast<void>(sink);
}

}  // namespace fuzz

#endif
