// Whether the factory image or the downloaded one is used.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "firmware/firmware_loader.h"
#include "tests/firmware/download_fixture.h"
#include "tests/firmware/file_faults.h"

namespace {

constexpr char kName[] = "UseDefaultVersion";
constexpr char kDownloaded[] = "/mtd_rwcommon/wiru/bin/zelCamera.xml";
constexpr char kFactory[] = "/mtd_exe/wiru/zelCamera.xml";

std::string Description(const std::string& version)
{
    return "<Camera><Version>" + version + "</Version></Camera>";
}

class VersionPolicy : public testing::Test {
protected:
    void SetUp() override
    {
        REQUIRE_TV_ROOT();
        TvRoot::Clear();
        m_open_files = OpenFiles();
    }
    void TearDown() override
    {
        if (TvRoot::Active()) {
            EXPECT_EQ(OpenFiles(), m_open_files);
        }
    }
    static void Write(const std::string& downloaded, const std::string& factory)
    {
        TvRoot::Write(kDownloaded, downloaded);
        TvRoot::Write(kFactory, factory);
    }
    std::vector<Line> Lines() const { return LinesOf(m_log); }
    static Line At(int level, const std::string& message) { return {level, kName, message}; }

    CapturedLog m_log;
    int m_open_files = 0;
};

TEST_F(VersionPolicy, Downloaded2Point0AgainstFactory1Point5ReturnsFalse)
{
    Write(Description("2.0"), Description("1.5"));
    EXPECT_FALSE(CCameraFwLoader::UseDefaultVersion());
    EXPECT_THAT(
        Lines(),
        ElementsAre(At(4, "zelVersion Version XML String length=39 \n"),
                    At(4, "defaultVersion version : 1.5 \n"),
                    At(4, "zelVersion version : 2.0 \n"),
                    At(4, "zel driver version is newer than default driver version \n")));
}

TEST_F(VersionPolicy, Downloaded1Point5AgainstFactory2Point0ReturnsTrue)
{
    Write(Description("1.5"), Description("2.0"));
    EXPECT_TRUE(CCameraFwLoader::UseDefaultVersion());
    EXPECT_THAT(Lines(),
                ElementsAre(At(4, "zelVersion Version XML String length=39 \n"),
                            At(4, "defaultVersion version : 2.0 \n"),
                            At(4, "zelVersion version : 1.5 \n"),
                            At(1, "default driver version is newer than zel version \n")));
}

TEST_F(VersionPolicy, ATieKeepsTheDownloadedCopy)
{
    Write(Description("1.5"), Description("1.50"));
    EXPECT_FALSE(CCameraFwLoader::UseDefaultVersion());
    EXPECT_EQ(Lines().back(),
              At(4, "zel driver version is newer than default driver version \n"));
}

TEST_F(VersionPolicy, VersionsCompareAsDecimalNumbers)
{
    Write(Description("1.10"), Description("1.9"));
    EXPECT_TRUE(CCameraFwLoader::UseDefaultVersion());
}

TEST_F(VersionPolicy, TextThatIsNoNumberCountsAsZero)
{
    Write(Description("new"), Description("0.1"));
    EXPECT_TRUE(CCameraFwLoader::UseDefaultVersion());
}

TEST_F(VersionPolicy, MissingFactoryFileReturnsFalse)
{
    TvRoot::Write(kDownloaded, Description("1.0"));
    EXPECT_FALSE(CCameraFwLoader::UseDefaultVersion());
    EXPECT_THAT(Lines(), ElementsAre(At(1, "use /mtd_down/wiru/bin\n")));
}

TEST_F(VersionPolicy, BothFilesMissingReturnsFalse)
{
    EXPECT_FALSE(CCameraFwLoader::UseDefaultVersion());
    EXPECT_THAT(Lines(), ElementsAre(At(1, "use /mtd_down/wiru/bin\n")));
}

TEST_F(VersionPolicy, MissingDownloadedFileReturnsTrueAndNamesItsPath)
{
    TvRoot::Write(kFactory, Description("1.0"));
    EXPECT_TRUE(CCameraFwLoader::UseDefaultVersion());
    EXPECT_THAT(Lines(),
                ElementsAre(At(1, "no version file in /mtd_rwcommon/wiru/bin/zelCamera.xml, "
                                  "start update\n"),
                            At(1, "use /mtd_exe/wiru/\n")));
}

class UnreadableSize : public VersionPolicy, public testing::WithParamInterface<int> {};

TEST_P(UnreadableSize, OfEitherFileReturnsFalse)
{
    Write(Description("1.5"), Description("2.0"));
    file_faults::FailNthTell(GetParam());
    EXPECT_FALSE(CCameraFwLoader::UseDefaultVersion());
    EXPECT_THAT(Lines(), ElementsAre(At(1, "fail to parse zelCamera.xml, use "
                                           "/mtd_down/wiru/bin\n")));
}

INSTANTIATE_TEST_SUITE_P(Files, UnreadableSize, testing::Values(1, 2));

class WrongFile : public VersionPolicy, public testing::WithParamInterface<const char*> {};

TEST_P(WrongFile, Above64MebibytesCannotBeParsed)
{
    Write(Description("1.5"), Description("2.0"));
    ASSERT_EQ(truncate(GetParam(), (64L << 20) + 1), 0);
    EXPECT_FALSE(CCameraFwLoader::UseDefaultVersion());
    EXPECT_THAT(Lines(), ElementsAre(At(1, "fail to parse zelCamera.xml, use "
                                           "/mtd_down/wiru/bin\n")));
}

TEST_P(WrongFile, OfAHundredMegabytesCannotBeParsed)
{
    Write(Description("1.5"), Description("2.0"));
    ASSERT_EQ(truncate(GetParam(), 100000000L), 0);
    EXPECT_FALSE(CCameraFwLoader::UseDefaultVersion());
}

TEST_P(WrongFile, ThatIsADirectoryCannotBeParsed)
{
    Write(Description("1.5"), Description("2.0"));
    TvRoot::Remove(GetParam());
    TvRoot::Write(std::string(GetParam()) + "/file", "");
    EXPECT_FALSE(CCameraFwLoader::UseDefaultVersion());
    EXPECT_THAT(Lines(), ElementsAre(At(1, "fail to parse zelCamera.xml, use "
                                           "/mtd_down/wiru/bin\n")));
}

TEST_P(WrongFile, ThatIsAPipeCannotBeParsedAndDoesNotBlock)
{
    Write(Description("1.5"), Description("2.0"));
    TvRoot::Remove(GetParam());
    ASSERT_EQ(mkfifo(GetParam(), 0600), 0);
    EXPECT_FALSE(CCameraFwLoader::UseDefaultVersion());
}

INSTANTIATE_TEST_SUITE_P(Files, WrongFile, testing::Values(kDownloaded, kFactory),
                         [](const auto& row) {
                             return std::string(row.index == 0 ? "Downloaded" : "Factory");
                         });

TEST_F(VersionPolicy, EmptyFactoryTextReturnsFalseSilently)
{
    Write(Description("1.0"), "");
    EXPECT_FALSE(CCameraFwLoader::UseDefaultVersion());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(VersionPolicy, FactoryTextThatStartsWithNulIsEmpty)
{
    Write(Description("1.0"), std::string(1, '\0') + Description("2.0"));
    EXPECT_FALSE(CCameraFwLoader::UseDefaultVersion());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(VersionPolicy, EmptyDownloadedTextHasNoVersion)
{
    Write("", Description("2.0"));
    EXPECT_TRUE(CCameraFwLoader::UseDefaultVersion());
    EXPECT_THAT(Lines(),
                ElementsAre(At(4, "zelVersion Version XML String length=0 \n"),
                            At(1, "zel version in /mtd_down/wiru/bin has invalid version \n")));
}

TEST_F(VersionPolicy, FactoryTextWithoutAnEndTagReturnsFalse)
{
    Write(Description("1.0"), "<Version>2.0");
    EXPECT_FALSE(CCameraFwLoader::UseDefaultVersion());
    EXPECT_THAT(Lines(),
                ElementsAre(At(4, "zelVersion Version XML String length=39 \n"),
                            At(1, "UseDefaultVersion: default camera dir has invalid version "
                                  "info.\n")));
}

TEST_F(VersionPolicy, DownloadedTextWithoutAnEndTagReturnsTrue)
{
    Write("<Version>2.0", Description("1.0"));
    EXPECT_TRUE(CCameraFwLoader::UseDefaultVersion());
    EXPECT_THAT(Lines(),
                ElementsAre(At(4, "zelVersion Version XML String length=12 \n"),
                            At(1, "zel version in /mtd_down/wiru/bin has invalid version \n")));
}

TEST_F(VersionPolicy, MissingStartTagStartsTheVersionAtOffset8)
{
    Write("12345678" "3.5</Version>", Description("2.0"));
    EXPECT_FALSE(CCameraFwLoader::UseDefaultVersion());
    EXPECT_TRUE(m_log.Contains("zelVersion version : 3.5 \n"));
}

TEST_F(VersionPolicy, DownloadedEndTagBeforeItsStartIsInvalid)
{
    Write("</Version><Version>2.0", Description("1.0"));
    EXPECT_TRUE(CCameraFwLoader::UseDefaultVersion());
    EXPECT_EQ(Lines().back(),
              At(1, "zel version in /mtd_down/wiru/bin has invalid version \n"));
}

TEST_F(VersionPolicy, FactoryEndTagBeforeItsStartIsInvalid)
{
    Write(Description("1.0"), "1.0</Version>");
    EXPECT_FALSE(CCameraFwLoader::UseDefaultVersion());
    EXPECT_EQ(Lines().back(), At(1, "UseDefaultVersion: default camera dir has invalid version "
                                    "info.\n"));
}

TEST_F(VersionPolicy, NestedTagsTakeTheFirstOfEach)
{
    Write("<Version><Version>9</Version></Version>", Description("1.0"));
    EXPECT_TRUE(CCameraFwLoader::UseDefaultVersion());  // "<Version>9" is no number
    EXPECT_TRUE(m_log.Contains("zelVersion version : <Version>9 \n"));
}

TEST_F(VersionPolicy, EmptyVersionCountsAsZero)
{
    Write(Description(""), Description("0.5"));
    EXPECT_TRUE(CCameraFwLoader::UseDefaultVersion());
}

TEST_F(VersionPolicy, TextEndsAtItsFirstNul)
{
    Write(std::string("<Version>") + '\0' + "2.0</Version>", Description("1.0"));
    EXPECT_TRUE(CCameraFwLoader::UseDefaultVersion());
    EXPECT_EQ(Lines().front(), At(4, "zelVersion Version XML String length=9 \n"));
}

TEST_F(VersionPolicy, BinaryRubbishHasNoVersion)
{
    std::string rubbish;
    for (int i = 0; i < 100000; ++i)
        rubbish += static_cast<char>(1 + i * 7919 % 255);
    Write(rubbish, Description("1.0"));
    EXPECT_TRUE(CCameraFwLoader::UseDefaultVersion());
    Write(Description("1.0"), rubbish);
    EXPECT_FALSE(CCameraFwLoader::UseDefaultVersion());
}

}  // namespace
