// What a process holds of the system: files, threads, memory.
#ifndef TESTS_KERNEL_PROCESS_STATE_H
#define TESTS_KERNEL_PROCESS_STATE_H

#include <cstddef>

namespace kernel_test
{

class ProcessState
{
public:
    /// As it is now.
    ProcessState();

    /// Notes a failure when there are more descriptors or threads than these
    /// beyond what was there.
    void ExpectUnchanged(std::size_t files = 0, std::size_t threads = 0) const;

    static std::size_t Threads();
    static std::size_t Files();
    /// Resident anonymous memory in KiB.
    static std::size_t MemoryKb();

private:
    std::size_t m_threads;
    std::size_t m_files;
};

}  // namespace kernel_test

#endif
