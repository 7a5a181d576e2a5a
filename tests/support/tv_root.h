// A private view of the television's file system. The process moves into its
// own mount namespace, where /mtd_exe, /mtd_rwarea, /mtd_rwcommon and /dtv are
// empty, writable directories in memory; nothing of it exists outside.
#ifndef TESTS_SUPPORT_TV_ROOT_H
#define TESTS_SUPPORT_TV_ROOT_H

#include <gtest/gtest.h>

#include <string>

namespace test_support {

class TvRoot {
public:
    /// Called by main before any thread exists. As an ordinary user it needs
    /// user namespaces; `argv` lets it start the program again where the
    /// process already has threads (a sanitizer's) and cannot make one.
    static bool Enter(char** argv);
    /// True in a process that has the private view.
    static bool Active();
    /// Why there is none.
    static const std::string& Problem();

    /// Empties the directories.
    static void Clear();
    /// Writes a file, with the directories that lead to it. Paths outside the
    /// private directories are refused.
    static void Write(const std::string& path, const std::string& content);
    static std::string Read(const std::string& path);
    static bool Exists(const std::string& path);
    static void Remove(const std::string& path);
};

}  // namespace test_support

/// First line of a test that uses the television's paths.
#define REQUIRE_TV_ROOT()                                                         \
    do {                                                                          \
        if (!test_support::TvRoot::Active())                                      \
            FAIL() << "no private root: " << test_support::TvRoot::Problem();     \
    } while (false)

#endif
