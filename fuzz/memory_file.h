// A file that lives in memory and has a path.
#ifndef FUZZ_MEMORY_FILE_H
#define FUZZ_MEMORY_FILE_H

#include <string>
#include <sys/mman.h>
#include <unistd.h>

#include "fuzz/check.h"

namespace fuzz {

class MemoryFile {
public:
    MemoryFile(const void* data, std::size_t size) : m_file(memfd_create("fuzz", 0))
    {
        FUZZ_CHECK(m_file >= 0);
        FUZZ_CHECK(write(m_file, data, size) == static_cast<ssize_t>(size));
        m_path = "/proc/self/fd/" + std::to_string(m_file);
    }
    ~MemoryFile() { close(m_file); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string& Path() { return m_path; }

private:
    int m_file;
    std::string m_path;
};

}  // namespace fuzz

#endif
