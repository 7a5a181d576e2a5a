#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>

#include "tests/support/tv_root.h"

namespace {

using test_support::TvRoot;

TEST(TvRootTest, TelevisionPathsAreThereAndWritable)
{
    REQUIRE_TV_ROOT();
    for (const char* path : {"/mtd_exe", "/mtd_rwarea", "/mtd_rwcommon", "/dtv"}) {
        struct stat state {};
        ASSERT_EQ(stat(path, &state), 0) << path;
        EXPECT_TRUE(S_ISDIR(state.st_mode)) << path;
        std::ofstream file(std::string(path) + "/probe");
        EXPECT_TRUE(file.good()) << path;
    }
    TvRoot::Clear();
}

TEST(TvRootTest, PathsStartEmpty)
{
    REQUIRE_TV_ROOT();
    EXPECT_FALSE(TvRoot::Exists("/mtd_exe/probe"));
}

TEST(TvRootTest, FilesAreWrittenReadAndCleared)
{
    REQUIRE_TV_ROOT();
    TvRoot::Write("/mtd_rwarea/wiru/bin/image.bin", std::string("a\0b", 3));
    EXPECT_EQ(TvRoot::Read("/mtd_rwarea/wiru/bin/image.bin"), std::string("a\0b", 3));
    TvRoot::Write("/dtv/cm_frequency", "2");
    TvRoot::Remove("/dtv/cm_frequency");
    EXPECT_FALSE(TvRoot::Exists("/dtv/cm_frequency"));
    TvRoot::Clear();
    EXPECT_FALSE(TvRoot::Exists("/mtd_rwarea/wiru"));
    EXPECT_TRUE(TvRoot::Exists("/mtd_rwarea"));
}

TEST(TvRootTest, OtherPathsAreRefused)
{
    REQUIRE_TV_ROOT();
    EXPECT_THROW(TvRoot::Write("/etc/probe", ""), std::logic_error);
    EXPECT_THROW(TvRoot::Write("/dtv/../etc/probe", ""), std::logic_error);
    EXPECT_THROW(TvRoot::Write("/dtvx", ""), std::logic_error);
}

TEST(TvRootTest, TheRestOfTheSystemIsStillThere)
{
    REQUIRE_TV_ROOT();
    EXPECT_TRUE(std::ifstream("/etc/passwd").good());
    EXPECT_FALSE(TvRoot::Exists("/dtv/etc"));
    struct stat scratch_directory {};
    EXPECT_NE(stat("/tmp/mtd_exe", &scratch_directory), 0) << "/tmp shows the new root";
    EXPECT_TRUE(std::ifstream("/proc/self/status").good());
    std::FILE* const scratch = std::tmpfile();
    EXPECT_NE(scratch, nullptr);
    if (scratch)
        std::fclose(scratch);
}

}  // namespace
