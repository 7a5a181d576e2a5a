#include "tests/kernel/v4l2_reader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstring>

#include "virtual_camera/model/digest.h"
#include "virtual_camera/vhci/port.h"

namespace kernel_test
{
namespace
{

using vcam::vhci::File;

constexpr unsigned kBuffers = 16;  // more than any test asks for: a late reader misses nothing
constexpr int kPatienceMs = 60000;

bool Control(const File& file, unsigned long request, void* argument, const char* name)
{
    if (ioctl(file.Get(), request, argument) == 0)
        return true;
    ADD_FAILURE() << name << ": " << std::strerror(errno);
    return false;
}

class Mapping
{
public:
    Mapping(const File& file, const v4l2_buffer& buffer)
        : m_length(buffer.length),
          m_start(mmap(nullptr, m_length, PROT_READ, MAP_SHARED, file.Get(), buffer.m.offset))
    {
    }
    ~Mapping()
    {
        if (m_start != MAP_FAILED)
            munmap(m_start, m_length);
    }
    Mapping(Mapping&& other) noexcept : m_length(other.m_length), m_start(other.m_start)
    {
        other.m_start = MAP_FAILED;
    }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;
    Mapping& operator=(Mapping&&) = delete;
    const unsigned char* Data() const { return static_cast<const unsigned char*>(m_start); }
    bool Valid() const { return m_start != MAP_FAILED; }

private:
    std::size_t m_length;
    void* m_start;
};

v4l2_buffer BufferNumber(unsigned index)
{
    v4l2_buffer buffer{};
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    buffer.index = index;
    return buffer;
}

bool Prepare(const File& file, std::uint32_t pixel_format, unsigned width, unsigned height,
             std::vector<Mapping>& mappings)
{
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    format.fmt.pix.pixelformat = pixel_format;
    format.fmt.pix.width = width;
    format.fmt.pix.height = height;
    if (!Control(file, VIDIOC_S_FMT, &format, "VIDIOC_S_FMT"))
        return false;
    EXPECT_EQ(format.fmt.pix.pixelformat, pixel_format);
    EXPECT_EQ(format.fmt.pix.width, width);
    v4l2_requestbuffers wanted{};
    wanted.count = kBuffers;
    wanted.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    wanted.memory = V4L2_MEMORY_MMAP;
    if (!Control(file, VIDIOC_REQBUFS, &wanted, "VIDIOC_REQBUFS"))
        return false;
    for (unsigned i = 0; i < wanted.count; ++i) {
        v4l2_buffer buffer = BufferNumber(i);
        if (!Control(file, VIDIOC_QUERYBUF, &buffer, "VIDIOC_QUERYBUF"))
            return false;
        mappings.emplace_back(file, buffer);
        if (!mappings.back().Valid() || !Control(file, VIDIOC_QBUF, &buffer, "VIDIOC_QBUF"))
            return false;
    }
    return true;
}

}  // namespace

std::vector<CapturedPicture> CapturePictures(const std::string& device, std::uint32_t pixel_format,
                                             unsigned width, unsigned height, std::size_t count)
{
    std::vector<CapturedPicture> pictures;
    const File file(open(device.c_str(), O_RDWR | O_CLOEXEC));
    if (!file.Open()) {
        ADD_FAILURE() << device << ": " << std::strerror(errno);
        return pictures;
    }
    std::vector<Mapping> mappings;
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (!Prepare(file, pixel_format, width, height, mappings) ||
        !Control(file, VIDIOC_STREAMON, &type, "VIDIOC_STREAMON"))
        return pictures;
    while (pictures.size() < count) {
        pollfd ready{file.Get(), POLLIN, 0};
        if (poll(&ready, 1, kPatienceMs) != 1) {
            ADD_FAILURE() << "no picture for a minute";
            break;
        }
        v4l2_buffer buffer = BufferNumber(0);
        if (!Control(file, VIDIOC_DQBUF, &buffer, "VIDIOC_DQBUF"))
            break;
        pictures.push_back({buffer.bytesused,
                            vcam::Digest(mappings[buffer.index].Data(), buffer.bytesused),
                            buffer.sequence, (buffer.flags & V4L2_BUF_FLAG_ERROR) != 0});
        if (!Control(file, VIDIOC_QBUF, &buffer, "VIDIOC_QBUF"))
            break;
    }
    Control(file, VIDIOC_STREAMOFF, &type, "VIDIOC_STREAMOFF");
    return pictures;
}

std::vector<std::string> ListFormats(const std::string& device)
{
    std::vector<std::string> formats;
    const File file(open(device.c_str(), O_RDWR | O_CLOEXEC));
    v4l2_fmtdesc description{};
    description.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    while (file.Open() && ioctl(file.Get(), VIDIOC_ENUM_FMT, &description) == 0) {
        std::string letters;
        for (unsigned i = 0; i < 4; ++i)
            letters += static_cast<char>(description.pixelformat >> (8 * i) & 0xFF);
        formats.push_back(letters);
        ++description.index;
    }
    return formats;
}

}  // namespace kernel_test
