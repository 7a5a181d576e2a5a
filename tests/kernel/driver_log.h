// The driver's log as something to compare: what each thread said, in order.
#ifndef TESTS_KERNEL_DRIVER_LOG_H
#define TESTS_KERNEL_DRIVER_LOG_H

#include <map>
#include <string>
#include <vector>

namespace kernel_test
{

struct DriverLog {
    /// "Function: message", by the thread that said it.
    std::map<std::string, std::vector<std::string>> lines;
    /// Lines of two threads ran into each other, so nothing of it can be trusted.
    bool torn = false;
};

DriverLog ReadDriverLog(const std::string& path);

/// The lines that only one of two sequences has: "- " the first, "+ " the second.
std::string Differences(const std::vector<std::string>& first,
                        const std::vector<std::string>& second);

}  // namespace kernel_test

#endif
