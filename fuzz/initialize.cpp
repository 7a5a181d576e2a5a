// The library's log goes to standard output. Its lines are formatted, for what
// that may find, but nobody wants to read them.
#include <cstdio>

#include "fuzz/check.h"
#include "fuzz/target.h"

int LLVMFuzzerInitialize(int*, char***)
{
    FUZZ_CHECK(std::freopen("/dev/null", "w", stdout) != nullptr);
    return 0;
}
