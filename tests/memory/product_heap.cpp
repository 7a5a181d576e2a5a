#include "tests/memory/product_heap.h"

#include <dlfcn.h>
#include <link.h>
#include <pthread.h>
#include <unwind.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace {

/// Where a loaded file lies.
struct Image {
    std::uintptr_t from = 0;
    std::uintptr_t to = 0;

    bool Holds(std::uintptr_t address) const { return from <= address && address < to; }
};

struct Search {
    std::uintptr_t address;
    Image found;
};

int Compare(dl_phdr_info* file, std::size_t, void* context)
{
    auto* const search = static_cast<Search*>(context);
    Image image{std::numeric_limits<std::uintptr_t>::max(), 0};
    for (int i = 0; i < file->dlpi_phnum; ++i) {
        const auto& segment = file->dlpi_phdr[i];
        if (segment.p_type != PT_LOAD)
            continue;
        const auto from = static_cast<std::uintptr_t>(file->dlpi_addr + segment.p_vaddr);
        image.from = std::min(image.from, from);
        image.to = std::max(image.to, from + static_cast<std::uintptr_t>(segment.p_memsz));
    }
    if (!image.Holds(search->address))
        return 0;
    search->found = image;
    return 1;
}

Image ImageOf(const void* address)
{
    Search search{reinterpret_cast<std::uintptr_t>(address), {}};
    dl_iterate_phdr(Compare, &search);
    return search.found;
}

// Written before there are threads.
Image g_product;
Image g_standard_library;
Image g_libusb;
bool g_only_scopes = false;

thread_local int t_scopes = 0;
thread_local bool t_fail_all = false;

std::atomic<long> g_countdown{0};
std::atomic<long> g_live{0};
std::atomic<long> g_total{0};
std::atomic<int> g_fill{-1};
product_heap::Failure g_failure;
std::atomic<product_heap::Failure*> g_last_failure{&g_failure};
std::atomic<pthread_t> g_orderer{};
std::function<void()> g_hook;

/// From the operators outwards.
struct Walk {
    bool in_standard_library = false;
    std::uintptr_t requester = 0;  ///< the first behind the standard library
    bool met_libusb = false;
};

_Unwind_Reason_Code Step(_Unwind_Context* frame, void* context)
{
    auto* const walk = static_cast<Walk*>(context);
    const auto address = static_cast<std::uintptr_t>(_Unwind_GetIP(frame));
    const bool standard = g_standard_library.Holds(address);
    if (walk->in_standard_library && !standard && walk->requester == 0)
        walk->requester = address;
    walk->in_standard_library = standard;
    walk->met_libusb = walk->met_libusb || g_libusb.Holds(address);
    return _URC_NO_REASON;
}

Walk WalkTheStack()
{
    Walk walk;
    _Unwind_Backtrace(Step, &walk);
    return walk;
}

bool IsProducts(const void* caller)
{
    if (g_only_scopes) {
        // The simulated device is in the program too, behind libusb.
        return t_scopes > 0 && !WalkTheStack().met_libusb;
    }
    auto requester = reinterpret_cast<std::uintptr_t>(caller);
    if (g_standard_library.Holds(requester))
        requester = WalkTheStack().requester;
    return g_product.Holds(requester);
}

bool HasToFail(std::size_t size)
{
    bool fails = t_fail_all;
    if (g_countdown.load() > 0 && g_countdown.fetch_sub(1) == 1)
        fails = true;
    if (!fails)
        return false;
    product_heap::Failure& failure = *g_last_failure.load();
    failure.size = size;
    failure.on_callers_thread = pthread_equal(pthread_self(), g_orderer.load()) != 0;
    failure.happened = true;
    if (g_hook)
        g_hook();
    return true;
}

/// Stands before each piece of memory.
struct alignas(std::max_align_t) Header {
    bool products;
};

void* Allocate(std::size_t size, const void* caller)
{
    const bool products = IsProducts(caller);
    if (products && HasToFail(size))
        return nullptr;
    if (size > std::numeric_limits<std::size_t>::max() - sizeof(Header))
        return nullptr;
    auto* const header = static_cast<Header*>(std::malloc(sizeof(Header) + size));
    if (header == nullptr)
        return nullptr;
    header->products = products;
    if (products) {
        ++g_live;
        ++g_total;
        if (g_fill >= 0)
            std::memset(header + 1, g_fill, size);
    }
    return header + 1;
}

void* AllocateOrThrow(std::size_t size, const void* caller)
{
    void* const memory = Allocate(size, caller);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void Free(void* memory)
{
    if (memory == nullptr)
        return;
    Header* const header = static_cast<Header*>(memory) - 1;
    if (header->products)
        --g_live;
    std::free(header);
}

void Order(long countdown, bool all)
{
    g_orderer = pthread_self();
    g_last_failure.load()->happened = false;
    t_fail_all = all;
    g_countdown = countdown;
}

}  // namespace

namespace product_heap {

void Watch(const void* address)
{
    g_standard_library = ImageOf(dlsym(RTLD_DEFAULT, "_ZSt9terminatev"));
    g_libusb = ImageOf(dlsym(RTLD_DEFAULT, "libusb_init"));
    g_product = ImageOf(address);
    g_only_scopes = false;
}

void WatchScopes()
{
    Watch(&g_product);
    g_only_scopes = true;
}

Scope::Scope()
{
    ++t_scopes;
}
Scope::~Scope()
{
    --t_scopes;
}

void FailNth(std::size_t nth)
{
    Order(static_cast<long>(nth), false);
}
void FailAll()
{
    Order(0, true);
}

void FailNone()
{
    t_fail_all = false;
    g_countdown = 0;
}

const Failure& LastFailure()
{
    return *g_last_failure.load();
}
void KeepFailureIn(Failure& in_shared_memory)
{
    g_last_failure = &in_shared_memory;
}
void OnFailure(std::function<void()> hook)
{
    g_hook = std::move(hook);
}
void Fill(int byte)
{
    g_fill = byte;
}
long Live()
{
    return g_live;
}
long Total()
{
    return g_total;
}

}  // namespace product_heap

// The address that the function returns to is in the code that asks.
void* operator new(std::size_t size)
{
    return AllocateOrThrow(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size)
{
    return AllocateOrThrow(size, __builtin_return_address(0));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size, __builtin_return_address(0));
}

void operator delete(void* memory) noexcept
{
    Free(memory);
}
void operator delete[](void* memory) noexcept
{
    Free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    Free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept
{
    Free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    Free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept
{
    Free(memory);
}
