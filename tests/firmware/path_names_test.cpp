#include <gtest/gtest.h>

#include "api/firmware_download.h"

namespace {

TEST(PathNames, NameTheImagesAndTheirFactoryCopies)
{
    EXPECT_STREQ(fw_path_name, "/mtd_rwarea/wiru/bin/TorvikFW.bin");
    EXPECT_STREQ(boot_path_name, "/mtd_rwarea/wiru/bin/TorvikBC.bin");
    EXPECT_STREQ(exe_fw_path_name, "/mtd_exe/wiru/TorvikFW.bin");
    EXPECT_STREQ(exe_boot_path_name, "/mtd_exe/wiru/TorvikBC.bin");
}

TEST(PathNames, AreBuffersOf34And27Bytes)
{
    EXPECT_EQ(sizeof fw_path_name, 34U);
    EXPECT_EQ(sizeof boot_path_name, 34U);
    EXPECT_EQ(sizeof exe_fw_path_name, 27U);
    EXPECT_EQ(sizeof exe_boot_path_name, 27U);
}

}  // namespace
