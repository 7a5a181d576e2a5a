// Stories played in processes of their own: a driver that ends its process, or
// hangs, costs that process only, and is told like any other fault.
#ifndef TESTS_MEMORY_CHILD_H
#define TESTS_MEMORY_CHILD_H

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "tests/memory/product_heap.h"
#include "tests/support/wait_until.h"

namespace child {

/// How long a story waits for anything.
constexpr std::chrono::milliseconds kStoryPatience{10000};

/// What the child leaves for its parent, in memory that both have.
struct Record {
    char doing[96];
    char problem[512];
    bool finished;
    product_heap::Failure failure;
    std::array<long, 8> figures;
};

/// The child's side. The first thing that is not as it should be ends the story.
class Story {
public:
    explicit Story(Record& record) : m_record(record) {}

    /// What is done from here on; told when the child goes no further.
    void Doing(const std::string& what);
    void Require(bool holds, const std::string& otherwise);
    template <typename Predicate>
    void RequireSoon(Predicate predicate, const std::string& otherwise)
    {
        Require(test_support::WaitUntil(predicate, kStoryPatience), otherwise);
    }
    const product_heap::Failure& Failure() const { return m_record.failure; }
    /// A number for the parent.
    void Tell(std::size_t index, long figure) { m_record.figures.at(index) = figure; }

private:
    Record& m_record;
};

/// The parent's side.
struct Ending {
    bool good = false;
    std::string what;     ///< what went wrong, in one line
    std::string output;   ///< last of what the child wrote
    bool failed = false;  ///< an allocation was made to fail
    bool on_callers_thread = false;
    std::size_t size = 0;  ///< of that allocation
    std::array<long, 8> figures{};
};

/// Plays a story in a fork of this process, which must have one thread only.
Ending Play(const std::function<void(Story&)>& story);

/// Plays the story with nth = 1, 2, ... until nothing failed in it any more.
/// Several at a time; the endings in order, the undisturbed one last.
std::vector<Ending> PlayEach(const std::function<void(Story&, std::size_t nth)>& story);

}  // namespace child

#endif
