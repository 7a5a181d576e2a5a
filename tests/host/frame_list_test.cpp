// The list of frames that a recording leaves for comparing.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "host/frame_list.h"
#include "host/host_error.h"
#include "tests/host/run_camhost.h"

namespace host {
namespace {

CCameraData Record(CAM_STREAM stream, std::string& bytes, std::uint32_t stamp)
{
    CCameraData data{};
    data.data = reinterpret_cast<unsigned char*>(bytes.data());
    data.size = static_cast<std::uint32_t>(bytes.size());
    data.timestamp = stamp;
    data.stream_type = stream;
    return data;
}

std::string Content(const std::string& path)
{
    std::ifstream file(path);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// The digests are published FNV-1a values of "a", "ab" and "b".
TEST(FrameList, HasALineAFrameAndGoesOnOverThePiecesOfOneStamp)
{
    const host_test::TempFolder folder;
    const std::string path = folder.Path() + "/list";
    std::string a = "a", b = "b";
    FrameList list(path);
    list.Add("main", Record(CAM_STREAM_H264_MAIN, a, 7));
    list.Add("main", Record(CAM_STREAM_H264_MAIN, b, 7));
    list.Add("sub", Record(CAM_STREAM_H264_SUB, b, 7));
    list.Add("main", Record(CAM_STREAM_H264_MAIN, b, 8));
    list.Close();
    EXPECT_EQ(Content(path),
              "main 7 1 af63dc4c8601ec8c\n"
              "main 7 1 089c4407b545986a\n"
              "sub 7 1 af63df4c8601f1a5\n"
              "main 8 1 af63df4c8601f1a5\n");
}

TEST(FrameList, FramesWithoutStampStandAlone)
{
    const host_test::TempFolder folder;
    const std::string path = folder.Path() + "/list";
    std::string a = "a";
    FrameList list(path);
    // Of a raw picture this field is the crop flag.
    list.Add("gray", Record(CAM_STREAM_GRAY, a, 1));
    list.Add("gray", Record(CAM_STREAM_GRAY, a, 1));
    list.Close();
    EXPECT_EQ(Content(path), "gray 0 1 af63dc4c8601ec8c\ngray 0 1 af63dc4c8601ec8c\n");
}

TEST(FrameList, FileThatCannotBeMadeIsAnError)
{
    EXPECT_THROW(FrameList("/nowhere/list"), HostError);
}

}  // namespace
}  // namespace host
