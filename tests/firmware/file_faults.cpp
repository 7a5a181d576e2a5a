#include "tests/firmware/file_faults.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>

namespace {

thread_local bool t_shorten = false;
thread_local int t_tells_to_failure = 0;

}  // namespace

namespace file_faults {

void ShortenNextRead() { t_shorten = true; }
void FailNthTell(int nth) { t_tells_to_failure = nth; }

}  // namespace file_faults

// Visible, since the libraries of a sanitizer refer to these names too.
#pragma GCC visibility push(default)
extern "C" {

std::size_t __real_fread(void*, std::size_t, std::size_t, std::FILE*);
std::size_t __wrap_fread(void* data, std::size_t size, std::size_t count, std::FILE* file)
{
    const std::size_t read = __real_fread(data, size, count, file);
    const bool shorten = t_shorten && read > 0;
    t_shorten = false;
    return shorten ? read - 1 : read;
}

long __real_ftell(std::FILE*);
long __wrap_ftell(std::FILE* file)
{
    if (t_tells_to_failure > 0 && --t_tells_to_failure == 0) {
        errno = EOVERFLOW;
        return -1;
    }
    return __real_ftell(file);
}
}
#pragma GCC visibility pop
