// Loading the image, which the four download procedures do alike.
#include <sys/stat.h>

#include "tests/firmware/download_fixture.h"
#include "tests/firmware/file_faults.h"

namespace {

struct Procedure {
    const char* name;
    int (*call)(_KelDevHandle*, char*);
    int not_exist_level;
    bool refuses_empty;
    bool logs_allocation;
    std::size_t padding;
};

const Procedure kProcedures[] = {
    {"UpdateFirmwarePcsyncPath",
     [](_KelDevHandle* d, char* path) { return UpdateFirmwarePcsyncPath(d, path, 4); }, 4, true,
     true, 512},
    {"UpdateFirmwareUvcPath",
     [](_KelDevHandle* d, char* path) { return UpdateFirmwareUvcPath(d, path, 4); }, 1, false,
     true, 32},
    {"UpdateFirmware", [](_KelDevHandle* d, char* path) { return UpdateFirmware(d, path, 1); }, 4,
     false, false, 0},
    {"UpdateKelFirmwareWithCheckSum",
     [](_KelDevHandle* d, char* path) { return UpdateKelFirmwareWithCheckSum(d, path, 1); }, 4,
     false, false, 0},
};

class ImageLoading : public DownloadTest, public testing::WithParamInterface<Procedure> {
protected:
    int Download() { return GetParam().call(m_device, m_path); }
    Line LineOf(int level, const std::string& message) const
    {
        return {level, GetParam().name, message};
    }
};

TEST_P(ImageLoading, MissingFileFailsWith80000003)
{
    EXPECT_EQ(Download(), kUnsupported);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(Lines(),
                ElementsAre(LineOf(GetParam().not_exist_level,
                                   "file /mtd_rwarea/wiru/bin/TorvikFW.bin not exist. \r\n")));
}

TEST_P(ImageLoading, EmptyFileIsRefusedOnlyOnThePcsyncPath)
{
    WriteImage({});
    if (GetParam().refuses_empty) {
        EXPECT_EQ(Download(), kUnsupported);
        EXPECT_THAT(
            Lines(),
            ElementsAre(LineOf(
                4, "file /mtd_rwarea/wiru/bin/TorvikFW.bin size is incorrect. \r\n")));
        EXPECT_THAT(Calls(), IsEmpty());
    } else {
        EXPECT_EQ(Download(), 0);
        EXPECT_EQ(Lines().front(), LineOf(4, "binary size=0 bytes\r\n"));
        EXPECT_THAT(Blocks(), IsEmpty());
    }
}

TEST_P(ImageLoading, NegativeSizeIsRefused)
{
    WriteImage(Pattern(10));
    file_faults::FailNthTell(1);
    EXPECT_EQ(Download(), kUnsupported);
    EXPECT_THAT(Lines(),
                ElementsAre(LineOf(
                    4, "file /mtd_rwarea/wiru/bin/TorvikFW.bin size is incorrect. \r\n")));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_P(ImageLoading, DirectoryIsRefused)
{
    TvRoot::Write(std::string(kImage) + "/file", "");
    EXPECT_EQ(Download(), kUnsupported);
    EXPECT_THAT(Lines(),
                ElementsAre(LineOf(
                    4, "file /mtd_rwarea/wiru/bin/TorvikFW.bin size is incorrect. \r\n")));
}

TEST_P(ImageLoading, PipeIsRefusedWithoutBlocking)
{
    TvRoot::Write("/mtd_rwarea/wiru/bin/other", "");
    ASSERT_EQ(mkfifo(kImage, 0600), 0);
    EXPECT_EQ(Download(), kUnsupported);
    EXPECT_THAT(Lines(),
                ElementsAre(LineOf(
                    4, "file /mtd_rwarea/wiru/bin/TorvikFW.bin size is incorrect. \r\n")));
}

TEST_P(ImageLoading, FileAbove64MebibytesIsRefused)
{
    WriteHugeImage((64L << 20) + 1);
    EXPECT_EQ(Download(), kUnsupported);
    EXPECT_THAT(Lines(),
                ElementsAre(LineOf(
                    4, "file /mtd_rwarea/wiru/bin/TorvikFW.bin size is incorrect. \r\n")));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_P(ImageLoading, LinkToAFileIsFollowed)
{
    WriteImage(Pattern(10), "/mtd_rwarea/wiru/bin/real.bin");
    ASSERT_EQ(symlink("/mtd_rwarea/wiru/bin/real.bin", kImage), 0);
    EXPECT_EQ(Download(), 0);
}

TEST_P(ImageLoading, SizeIsLogged)
{
    WriteImage(Pattern(1000));
    EXPECT_EQ(Download(), 0);
    EXPECT_EQ(Lines().front(), LineOf(4, "binary size=1000 bytes\r\n"));
}

TEST_P(ImageLoading, BufferHasTheImagesSizeAndItsPadding)
{
    WriteImage(Pattern(1000));
    Download();
    EXPECT_EQ(array_allocation::LastSize(), 1000 + GetParam().padding);
}

TEST_P(ImageLoading, FailedAllocationFailsTheDownload)
{
    WriteImage(Pattern(1000));
    array_allocation::FailNext();
    EXPECT_EQ(Download(), kUnsupported);
    std::vector<Line> expected{LineOf(4, "binary size=1000 bytes\r\n")};
    if (GetParam().logs_allocation)
        expected.push_back(LineOf(1, "data pointer for loading firmware is NULL!!!\r\n"));
    expected.push_back(LineOf(1, "Update flash failed.\r\n"));
    EXPECT_EQ(Lines(), expected);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_P(ImageLoading, FileThatCannotBeReadWholeFailsTheDownload)
{
    WriteImage(Pattern(1000));
    file_faults::ShortenNextRead();
    EXPECT_EQ(Download(), kUnsupported);
    EXPECT_THAT(Lines(), ElementsAre(LineOf(4, "binary size=1000 bytes\r\n"),
                                     LineOf(1, "Update flash failed.\r\n")));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_P(ImageLoading, NullHandleFailsWith80000003)
{
    WriteImage(Pattern(10));
    EXPECT_EQ(GetParam().call(nullptr, m_path), kUnsupported);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_P(ImageLoading, NullPathFailsWith80000003)
{
    EXPECT_EQ(GetParam().call(m_device, nullptr), kUnsupported);
    EXPECT_THAT(Calls(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Procedures, ImageLoading, testing::ValuesIn(kProcedures),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
