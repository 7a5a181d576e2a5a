#include "bench/allocations.h"

#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::uint64_t> g_allocations{0};
std::atomic<std::uint64_t> g_bytes{0};
std::atomic<std::uint64_t> g_formatted{0};

void* Allocate(std::size_t size)
{
    ++g_allocations;
    g_bytes += size;
    return std::malloc(size != 0 ? size : 1);
}

}  // namespace

void* operator new(std::size_t size)
{
    void* const memory = Allocate(size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}
void* operator new[](std::size_t size)
{
    return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}

// The linker sends calls of these here.
extern "C" {

int __real_vprintf(const char* format, std::va_list arguments);
int __wrap_vprintf(const char* format, std::va_list arguments);
int __wrap_vprintf(const char* format, std::va_list arguments)
{
    ++g_formatted;
    return __real_vprintf(format, arguments);
}

int __real_vsnprintf(char* buffer, std::size_t size, const char* format, std::va_list arguments);
int __wrap_vsnprintf(char* buffer, std::size_t size, const char* format, std::va_list arguments);
int __wrap_vsnprintf(char* buffer, std::size_t size, const char* format, std::va_list arguments)
{
    ++g_formatted;
    return __real_vsnprintf(buffer, size, format, arguments);
}

int __wrap_snprintf(char* buffer, std::size_t size, const char* format, ...);
int __wrap_snprintf(char* buffer, std::size_t size, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const int length = __wrap_vsnprintf(buffer, size, format, arguments);
    va_end(arguments);
    return length;
}
}

namespace bench {

Counts CountsNow()
{
    return {g_allocations, g_bytes, g_formatted};
}

}  // namespace bench
