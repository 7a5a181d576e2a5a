// Single operations of the driver, each of whose allocations fails in turn.
#ifndef TESTS_MEMORY_PARTS_FIXTURE_H
#define TESTS_MEMORY_PARTS_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdio>
#include <new>
#include <optional>

#include "tests/memory/product_heap.h"

/// The operation with its nth allocation failing; nothing when an exception
/// left it.
template <typename Operation>
auto WithoutAllocation(std::size_t nth, Operation operation) -> std::optional<decltype(operation())>
{
    std::optional<decltype(operation())> result;
    try {
        const product_heap::Scope scope;
        product_heap::FailNth(nth);
        result = operation();
    } catch (const std::bad_alloc&) {
        ADD_FAILURE() << "allocation " << nth << " (" << product_heap::LastFailure().size
                      << " bytes): an exception left the operation";
    }
    product_heap::FailNone();
    return result;
}

/// The operation, whose allocations count.
template <typename Operation>
auto Watched(Operation operation)
{
    const product_heap::Scope scope;
    return operation();
}

/// Calls `attempt` with nth = 1, 2, ... until nothing failed in it any more.
template <typename Attempt>
void ForEachAllocation(std::size_t at_least, Attempt attempt)
{
    constexpr std::size_t kMost = 100;
    std::size_t nth = 0;
    do {
        attempt(++nth);
    } while (product_heap::LastFailure().happened && nth < kMost);
    std::fprintf(stderr, "%zu allocations failed in turn\n", nth - 1);
    EXPECT_GE(nth, at_least + 1);
    EXPECT_LT(nth, kMost);
}

#endif
