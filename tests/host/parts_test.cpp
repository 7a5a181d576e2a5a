// Small parts of the host program: pictures, names, values, tables.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "host/access_unit.h"
#include "host/firmware_image.h"
#include "host/frame_queue.h"
#include "host/host_error.h"
#include "host/property_table.h"
#include "host/raw_geometry.h"
#include "host/streams.h"
#include "host/text_table.h"
#include "tests/host/run_camhost.h"

namespace host {
namespace {

const Bytes kSequence = {0, 0, 0, 1, 0x67, 1, 2, 3};
const Bytes kPicture = {0, 0, 0, 1, 0x68, 4, 5, 6};
const Bytes kIdr = {0, 0, 0, 1, 0x65, 7, 8, 9};
const Bytes kSlice = {0, 0, 0, 1, 0x41, 10, 11};

Bytes Joined(std::initializer_list<Bytes> parts)
{
    Bytes all;
    for (const Bytes& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

TEST(AccessUnit, ThreePiecesOfAKeyFrameBecomeOne)
{
    AccessUnitAssembler assembler;
    Bytes unit;
    EXPECT_FALSE(assembler.Add(Bytes(kSequence), unit));
    EXPECT_FALSE(assembler.Add(Bytes(kPicture), unit));
    EXPECT_TRUE(assembler.Add(Bytes(kIdr), unit));
    EXPECT_EQ(unit, Joined({kSequence, kPicture, kIdr}));
    EXPECT_TRUE(assembler.Add(Bytes(kSlice), unit));
    EXPECT_EQ(unit, kSlice);
}

TEST(AccessUnit, CutInsideAStartCodeIsNoMatter)
{
    const Bytes whole = Joined({kSequence, kPicture, kIdr});
    for (std::size_t cut = 1; cut < 16; ++cut) {
        AccessUnitAssembler assembler;
        Bytes unit;
        const auto middle = whole.begin() + static_cast<std::ptrdiff_t>(cut);
        EXPECT_FALSE(assembler.Add(Bytes(whole.begin(), middle), unit));
        EXPECT_TRUE(assembler.Add(Bytes(middle, whole.end()), unit)) << cut;
        EXPECT_EQ(unit, whole);
    }
}

TEST(AccessUnit, ScanFindsParameterSetsAndKeyFrame)
{
    const UnitContents key = ScanUnits(Joined({kSequence, kPicture, kIdr}));
    EXPECT_TRUE(key.picture);
    EXPECT_TRUE(key.key_frame);
    EXPECT_EQ(key.parameter_sets, Joined({kSequence, kPicture}));
    const UnitContents other = ScanUnits(kSlice);
    EXPECT_TRUE(other.picture);
    EXPECT_FALSE(other.key_frame);
    EXPECT_TRUE(other.parameter_sets.empty());
    EXPECT_FALSE(ScanUnits({}).picture);
    EXPECT_FALSE(ScanUnits({0, 0, 1}).picture);
}

TEST(FrameQueue, DropsInsteadOfGrowingWithoutEnd)
{
    FrameQueue queue;
    Frame big;
    big.data.resize(40u << 20);
    Frame second = big;
    EXPECT_TRUE(queue.Push(std::move(big)));
    EXPECT_FALSE(queue.Push(std::move(second)));
    Frame out;
    EXPECT_TRUE(queue.Pop(out, std::chrono::milliseconds(0)));
    EXPECT_TRUE(queue.Push(std::move(out)));
}

TEST(FrameQueue, GivesOutWhatItHoldsAfterClosing)
{
    FrameQueue queue;
    EXPECT_TRUE(queue.Push(Frame()));
    queue.Close();
    EXPECT_FALSE(queue.Finished());
    EXPECT_FALSE(queue.Push(Frame()));
    Frame out;
    EXPECT_TRUE(queue.Pop(out, std::chrono::milliseconds(0)));
    EXPECT_TRUE(queue.Finished());
}

TEST(PropertyTable, FindsNamesInAnySpellingAndNumbers)
{
    EXPECT_EQ(PropertyByName("mic-volume").id, CAM_PROPERTY_MICVOLUME);
    EXPECT_EQ(PropertyByName("MIC_VOLUME").id, CAM_PROPERTY_MICVOLUME);
    EXPECT_EQ(PropertyByName("4").id, CAM_PROPERTY_MICVOLUME);
    EXPECT_THROW(PropertyByName("6"), HostError);
}

TEST(PropertyTable, NamesAndNumbersAreUnique)
{
    for (const PropertyInfo& a : Properties()) {
        EXPECT_EQ(&PropertyByName(a.name), &a);
        EXPECT_EQ(&PropertyByName(std::to_string(a.id)), &a);
    }
}

TEST(PropertyValue, FormsArePackedAsTheCameraWantsThem)
{
    const auto value = [](const char* name, std::vector<std::string> words) {
        return ParsePropertyValue(PropertyByName(name), words);
    };
    EXPECT_EQ(value("resolution", {"1280x720"}).value, 0x02D00500);
    EXPECT_EQ(value("frequency", {"60Hz"}).value, 1);
    EXPECT_EQ(value("frequency", {"50hz"}).value, 2);
    EXPECT_EQ(value("signal-type", {"h264_h264_gray"}).value, 3);
    EXPECT_EQ(value("signal-type", {"8"}).value, 8);
    EXPECT_EQ(value("pan", {"-2"}).value, -2);
    EXPECT_EQ(value("user-flag", {"0xff"}).value, 255);
    EXPECT_EQ(value("force-i", {}).value, 0);
    const CAM_PROP_VALUE crop = value("crop-gray", {"16,32", "320x240"});
    EXPECT_EQ(crop.value, 0x00200010);
    EXPECT_EQ(crop.res[0], 0x00F00140);
}

TEST(PropertyValue, RefusesWhatDoesNotFit)
{
    for (const auto& [name, text] : std::vector<std::pair<const char*, const char*>>{
             {"bitrate", "-1"}, {"bitrate", "1 000"}, {"bitrate", ""}, {"bitrate", "0x"},
             {"signal-type", "9"}, {"resolution", "70000x1"}, {"resolution", "x"},
             {"debug-level", "0"}, {"zoom", "65536"}, {"pan", "99999999999999999999"}}) {
        try {
            ParsePropertyValue(PropertyByName(name), {text});
            ADD_FAILURE() << name << " took " << text;
        } catch (const HostError& error) {
            EXPECT_EQ(error.code(), kExitUsage);
        }
    }
}

TEST(PropertyValue, SizeIsShownAsASize)
{
    EXPECT_EQ(PropertyValueText(PropertyByName("resolution"), 0x01E00280), "640x480");
}

TEST(RawGeometry, FindsTheSizeFromTheBytes)
{
    EXPECT_EQ(RawPictureSize(CAM_STREAM_GRAY, 320 * 240, {}).width, 320);
    EXPECT_EQ(RawPictureSize(CAM_STREAM_NV12, 640 * 480 * 3 / 2, {}).height, 480);
    EXPECT_EQ(RawPictureSize(CAM_STREAM_YUYV, 1280 * 720 * 2, {}).width, 1280);
    EXPECT_EQ(RawPictureSize(CAM_STREAM_GRAY, 12345, {}).width, 0);
    EXPECT_EQ(RawPictureSize(CAM_STREAM_GRAY, 320 * 240, {640, 120}).width, 640);
    EXPECT_EQ(RawPictureSize(CAM_STREAM_GRAY, 0, {}).width, 0);
}

TEST(RawGeometry, EverySizeIsFoundInEveryFormat)
{
    // Two sizes of the same number of pixels could not be told apart.
    for (const PictureSize size : {PictureSize{320, 240}, PictureSize{640, 480},
                                   PictureSize{1280, 720}, PictureSize{1920, 1080}}) {
        const auto pixels = static_cast<std::size_t>(size.width * size.height);
        EXPECT_EQ(RawPictureSize(CAM_STREAM_GRAY, pixels, {}).width, size.width);
        EXPECT_EQ(RawPictureSize(CAM_STREAM_NV21, pixels * 3 / 2, {}).width, size.width);
        EXPECT_EQ(RawPictureSize(CAM_STREAM_YUYV, pixels * 2, {}).width, size.width);
    }
}

TEST(FirmwareImage, VersionWordIsFoundWhereTheFileIsLongEnough)
{
    const host_test::TempFolder folder;
    const std::string path = folder.Path() + "/image";
    Bytes bytes(0x2036, 1);
    bytes[0x2032] = 0x45;
    bytes[0x2033] = 0x23;
    bytes[0x2034] = static_cast<std::uint8_t>((BOOTCODE_MAGIC & 0xF) << 4 | 0x1);
    bytes[0x2035] = static_cast<std::uint8_t>(BOOTCODE_MAGIC >> 4);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    const FirmwareImage image = ReadFirmwareImage(path);
    EXPECT_TRUE(image.IsBootCode());
    EXPECT_EQ(image.BootCodeVersion(), 0x12345u);

    std::filesystem::resize_file(path, 0x2035);
    EXPECT_FALSE(ReadFirmwareImage(path).has_version_word);
    EXPECT_THROW(ReadFirmwareImage(folder.Path()), HostError);
}

TEST(TextTable, ColumnsLineUp)
{
    TextTable table({"name", ">count"});
    table.Row({"a", "1"});
    table.Row({"longer", "1000"});
    EXPECT_EQ(table.Text(), "name    count\na           1\nlonger   1000\n");
}

}  // namespace
}  // namespace host
