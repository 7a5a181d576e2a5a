#include "tests/devcmd/array_allocation.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

thread_local bool t_fail = false;
thread_local std::size_t t_last_size = 0;
std::atomic<int> g_live{0};

/// Stands before each array, as large as the strictest alignment.
union Header {
    bool counted;
    std::max_align_t alignment;
};

void* Allocate(std::size_t size, bool counted)
{
    void* const memory = std::malloc(sizeof(Header) + size);
    if (memory == nullptr)
        return nullptr;
    auto* const header = static_cast<Header*>(memory);
    header->counted = counted;
    if (counted)
        ++g_live;
    return header + 1;
}

void Free(void* array)
{
    if (array == nullptr)
        return;
    Header* const header = static_cast<Header*>(array) - 1;
    if (header->counted)
        --g_live;
    std::free(header);
}

}  // namespace

namespace array_allocation {

void FailNext() { t_fail = true; }
std::size_t LastSize() { return t_last_size; }
int Live() { return g_live; }

}  // namespace array_allocation

void* operator new[](std::size_t size)
{
    void* const array = Allocate(size, false);
    if (array == nullptr)
        std::abort();
    return array;
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    if (t_fail) {
        t_fail = false;
        return nullptr;
    }
    t_last_size = size;
    return Allocate(size, true);
}

void operator delete[](void* array) noexcept { Free(array); }
void operator delete[](void* array, std::size_t) noexcept { Free(array); }
void operator delete[](void* array, const std::nothrow_t&) noexcept { Free(array); }
