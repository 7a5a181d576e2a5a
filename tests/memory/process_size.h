// How large this process is.
#ifndef TESTS_MEMORY_PROCESS_SIZE_H
#define TESTS_MEMORY_PROCESS_SIZE_H

#include <fstream>
#include <string>

/// A field of /proc/self/status in KiB, such as VmRSS; -1 without it.
inline long ProcessSize(const std::string& field)
{
    std::ifstream status("/proc/self/status");
    std::string name;
    while (status >> name) {
        long size = -1;
        if (name == field + ":" && status >> size)
            return size;
        std::getline(status, name);
    }
    return -1;
}

#endif
