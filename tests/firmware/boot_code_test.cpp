// Boot-code updates.
#include <sys/stat.h>

#include "firmware/firmware_loader.h"
#include "tests/firmware/download_fixture.h"
#include "tests/firmware/file_faults.h"
#include "tests/support/sleeps.h"

namespace {

constexpr char kName[] = "UpdateBootCode";
constexpr std::size_t kWordOffset = 0x2032;
constexpr std::uint32_t kMagic = static_cast<std::uint32_t>(BOOTCODE_MAGIC) << 20;

std::string Hex(std::uint32_t value)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%X", value);
    return text;
}

class BootCode : public DownloadTest {
protected:
    static void WriteBootCode(std::uint32_t word, std::size_t size = 0x2040)
    {
        Bytes image = Pattern(size);
        for (std::size_t i = 0; i < 4 && kWordOffset + i < size; ++i)
            image[kWordOffset + i] = static_cast<std::uint8_t>(word >> (8 * i));
        WriteImage(image);
    }
    int Update(unsigned long device_version)
    {
        return m_loader.UpdateBootCode(m_device, m_path, device_version);
    }
    bool Burnt() const
    {
        return !Requests().empty() &&
               Requests().back() == XuSet(4, {1, 1, 3, 0, 0, 0, 0, 0}, 1000);
    }

    const test_support::FastSleeps m_sleeps{1000};
    CCameraFwLoader m_loader{nullptr, nullptr, nullptr};
};

TEST_F(BootCode, MissingFileReturnsZero)
{
    EXPECT_EQ(Update(0), 0);
    EXPECT_THAT(Lines(),
                ElementsAre(Line{4, kName,
                                 "New firmware file does not found. skip firmware update "
                                 "procdure.\r\n"}));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(BootCode, Version20IsBurntWhenTheDeviceHas1F)
{
    WriteBootCode(kMagic | 0x20);
    EXPECT_EQ(Update(0x1F), 0);
    EXPECT_TRUE(Burnt());
    EXPECT_EQ(Requests().size(), 2 + 0x2040 / 32U);
    EXPECT_EQ(m_sleeps.Count(std::chrono::seconds(3)), 1U);
    EXPECT_EQ(m_sleeps.All().size(), 1U);
}

TEST_F(BootCode, UpdateLogsItsSteps)
{
    WriteBootCode(kMagic | 0x20, kWordOffset + 4);
    Update(0x1F);
    const char* const download = "UpdateFirmwareUvcPath";
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            Line{4, kName, "FwVerCode=" + Hex(kMagic | 0x20) + "\r\n"},
            Line{4, kName, "Bootcode file path is: /mtd_rwarea/wiru/bin/TorvikFW.bin\r\n"},
            Line{4, kName,
                 "Found a new bootcode binary. binary version is 0x20, device version is "
                 "0x1F\r\n"},
            Line{4, kName, "Start to update bootcode. New version is 0x20.\r\n"},
            Line{4, download, "binary size=8246 bytes\r\n"},
            Line{4, download, "UVC path fw update init.\r\n"},
            Line{4, download, "UVC path fw data transfer.\r\n"},
            Line{4, download, "Start burning.\r\n"},
            Line{1, download, "Update flash successfully.\r\n"},
            Line{4, kName, "Boot code update done.\r\n"}));
}

class NotOlder : public BootCode, public testing::WithParamInterface<unsigned long> {};

TEST_P(NotOlder, Version20IsLeftAloneWhenTheDeviceHas20OrHigher)
{
    WriteBootCode(kMagic | 0x20);
    EXPECT_EQ(Update(GetParam()), 0);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_TRUE(m_sleeps.All().empty());
    EXPECT_EQ(Lines().size(), 3U);
    EXPECT_EQ(Lines().back(),
              (Line{4, kName,
                    "Found a new bootcode binary. binary version is 0x20, device version is " +
                        Hex(static_cast<std::uint32_t>(GetParam())) + "\r\n"}));
}

INSTANTIATE_TEST_SUITE_P(Versions, NotOlder, testing::Values(0x20UL, 0x21UL, 0xFFFFFFFFUL));

TEST_F(BootCode, ComparisonIsUnsigned)
{
    WriteBootCode(kMagic | 0xFFFFF);
    EXPECT_EQ(Update(0x80000000UL), 0);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(BootCode, VersionIsTheLow20Bits)
{
    WriteBootCode(kMagic | 0xABCDE);
    Update(0xABCDF);
    EXPECT_EQ(Lines().back().message,
              "Found a new bootcode binary. binary version is 0xABCDE, device version is "
              "0xABCDF\r\n");
}

TEST_F(BootCode, WordWithoutTheMagicIsIncorrect)
{
    WriteBootCode((kMagic ^ 0x00100000) | 0x20);
    EXPECT_EQ(Update(0), kUnsupported);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Line{4, kName, "FwVerCode=" + Hex((kMagic ^ 0x00100000) | 0x20) + "\r\n"},
                    Line{4, kName, "Boot code binary incorrect. skip update procedure.\r\n"}));
    EXPECT_THAT(Calls(), IsEmpty());
}

void ExpectIncorrectWithWordZero(const std::vector<Line>& lines)
{
    EXPECT_THAT(lines,
                ElementsAre(Line{4, kName, "FwVerCode=0x0\r\n"},
                            Line{4, kName,
                                 "Boot code binary incorrect. skip update procedure.\r\n"}));
}

TEST_F(BootCode, FileOneByteTooShortForItsWordIsIncorrect)
{
    WriteBootCode(kMagic | 0x20, kWordOffset + 3);
    EXPECT_EQ(Update(0), kUnsupported);
    ExpectIncorrectWithWordZero(Lines());
}

TEST_F(BootCode, EmptyFileIsIncorrect)
{
    WriteImage({});
    EXPECT_EQ(Update(0), kUnsupported);
    ExpectIncorrectWithWordZero(Lines());
}

TEST_F(BootCode, DirectoryIsIncorrect)
{
    TvRoot::Write(std::string(kImage) + "/file", "");
    EXPECT_EQ(Update(0), kUnsupported);
    ExpectIncorrectWithWordZero(Lines());
}

TEST_F(BootCode, PipeIsIncorrectAndDoesNotBlock)
{
    TvRoot::Write("/mtd_rwarea/wiru/bin/other", "");
    ASSERT_EQ(mkfifo(kImage, 0600), 0);
    EXPECT_EQ(Update(0), kUnsupported);
    ExpectIncorrectWithWordZero(Lines());
}

TEST_F(BootCode, FileAbove64MebibytesIsIncorrect)
{
    WriteBootCode(kMagic | 0x20);
    ASSERT_EQ(truncate(kImage, (64L << 20) + 1), 0);
    EXPECT_EQ(Update(0), kUnsupported);
    EXPECT_EQ(Lines().back(),
              (Line{4, kName, "Boot code binary incorrect. skip update procedure.\r\n"}));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(BootCode, FailedDownloadIsLoggedAndReturned)
{
    WriteBootCode(kMagic | 0x20);
    FailTransfer(1, LIBUSB_ERROR_PIPE);
    EXPECT_EQ(Update(0), kUnsupported);
    const auto lines = Lines();
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines[lines.size() - 2],
              (Line{4, kName, "CCameraFwLoader :Failed to load firmware, exit. \r\n"}));
    EXPECT_EQ(lines.back(), (Line{4, kName, "Boot code update done.\r\n"}));
}

TEST_F(BootCode, NullHandleFailsWhereThereIsSomethingToBurn)
{
    EXPECT_EQ(m_loader.UpdateBootCode(nullptr, m_path, 0), 0) << "no file";
    WriteBootCode(kMagic | 0x20);
    EXPECT_EQ(m_loader.UpdateBootCode(nullptr, m_path, 0x20), 0) << "not newer";
    EXPECT_EQ(m_loader.UpdateBootCode(nullptr, m_path, 0x1F), kUnsupported);
}

TEST_F(BootCode, NullPathFailsWith80000003)
{
    EXPECT_EQ(m_loader.UpdateBootCode(m_device, nullptr, 0), kUnsupported);
}

}  // namespace
