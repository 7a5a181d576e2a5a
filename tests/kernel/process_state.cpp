#include "tests/kernel/process_state.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "tests/support/wait_until.h"

namespace kernel_test
{
namespace
{

namespace fs = std::filesystem;

std::size_t Entries(const char* folder)
{
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

std::string OpenFiles()
{
    std::string all;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        all += fs::read_symlink(entry.path(), error).string() + "\n";
    }
    return all;
}

}  // namespace

ProcessState::ProcessState()
{
    std::thread([] {}).join();  // a process's first thread may leave something behind
    m_threads = Threads();
    m_files = Files();
}

std::size_t ProcessState::Threads()
{
    return Entries("/proc/self/task");
}

std::size_t ProcessState::Files()
{
    return Entries("/proc/self/fd");
}

std::size_t ProcessState::MemoryKb()
{
    std::ifstream status("/proc/self/status");
    for (std::string key; status >> key;) {
        std::size_t value = 0;
        if (key == "RssAnon:" && status >> value)
            return value;
    }
    return 0;
}

void ProcessState::ExpectUnchanged(std::size_t files, std::size_t threads) const
{
    // A joined thread may stay listed for a moment.
    EXPECT_TRUE(test_support::WaitUntil([=] { return Threads() <= m_threads + threads; }))
        << Threads() << " threads, before " << m_threads;
    EXPECT_TRUE(test_support::WaitUntil([=] { return Files() <= m_files + files; },
                                        std::chrono::milliseconds(2000)))
        << Files() << " files, before " << m_files << ":\n"
        << OpenFiles();
}

}  // namespace kernel_test
