// An open boot loader and image files on the television's file system.
#ifndef TESTS_FIRMWARE_DOWNLOAD_FIXTURE_H
#define TESTS_FIRMWARE_DOWNLOAD_FIXTURE_H

#include <dirent.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "api/firmware_download.h"
#include "tests/devcmd/array_allocation.h"
#include "tests/devcmd/controller_fixture.h"
#include "tests/support/tv_root.h"

using test_support::TvRoot;

constexpr int kUnsupported = static_cast<int>(0x80000003);
constexpr char kImage[] = "/mtd_rwarea/wiru/bin/TorvikFW.bin";

/// A bulk transfer as the library asked for it.
struct Block {
    unsigned endpoint;
    std::size_t length;
    unsigned timeout_ms;
};

inline bool operator==(const Block& a, const Block& b)
{
    return a.endpoint == b.endpoint && a.length == b.length && a.timeout_ms == b.timeout_ms;
}

inline std::ostream& operator<<(std::ostream& out, const Block& block)
{
    return out << "{endpoint " << block.endpoint << " length " << block.length << " "
               << block.timeout_ms << " ms}";
}

inline int OpenFiles()
{
    int count = 0;
    DIR* const directory = opendir("/proc/self/fd");
    while (readdir(directory) != nullptr)
        ++count;
    closedir(directory);
    return count;
}

/// Bytes that repeat only every 251.
inline Bytes Pattern(std::size_t size)
{
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(i % 251);
    return bytes;
}

class DownloadTest : public ControllerTest {
protected:
    DownloadTest() : ControllerTest(Layout::kBootLoader) {}

    void SetUp() override
    {
        REQUIRE_TV_ROOT();
        TvRoot::Clear();
        m_device = OpenKelDevice(TORVIK_CAM_VENDOR_ID, TORVIK_CAM_BOOT_PRODUCT_ID, 2);
        ASSERT_NE(m_device, nullptr);
        Forget();
        m_open_files = OpenFiles();
        m_live_arrays = array_allocation::Live();
    }

    /// Files and buffers are released on every way out.
    void TearDown() override
    {
        if (m_device == nullptr)
            return;
        EXPECT_EQ(OpenFiles(), m_open_files);
        EXPECT_EQ(array_allocation::Live(), m_live_arrays);
        ControllerTest::TearDown();
    }

    static void WriteImage(const Bytes& bytes, const std::string& path = kImage)
    {
        TvRoot::Write(path, std::string(bytes.begin(), bytes.end()));
    }
    static void WriteHugeImage(long size)
    {
        TvRoot::Write(kImage, "");
        ASSERT_EQ(truncate(kImage, size), 0);
    }

    std::vector<Block> Blocks() const
    {
        std::vector<Block> blocks;
        for (const Call& call : Calls())
            if (call.function == "libusb_bulk_transfer")
                blocks.push_back({call.endpoint, call.length, call.timeout_ms});
        return blocks;
    }

    /// Everything the library tried to send over the bulk endpoint.
    Bytes BulkData() const
    {
        Bytes bytes;
        for (const Call& call : Calls())
            if (call.function == "libusb_bulk_transfer")
                bytes.insert(bytes.end(), call.data.begin(), call.data.end());
        return bytes;
    }

    /// Counts arrays that are alive when a vendor request of this number is sent.
    void WatchMemoryAtRequest(unsigned request, int& live)
    {
        m_bus.OnCall("libusb_control_transfer", vcam::standin::When::kBefore,
                     [this, request, &live](const Call& call) {
                         if (call.setup.request == request)
                             live = array_allocation::Live() - m_live_arrays;
                     });
    }

    char m_path[sizeof kImage] = "/mtd_rwarea/wiru/bin/TorvikFW.bin";
    int m_open_files = 0;
    int m_live_arrays = 0;
};

/// The size requests of the bulk paths.
inline Request SizeRequest(unsigned request, std::size_t size, unsigned timeout_ms)
{
    return {0x40, request, static_cast<unsigned>(size & 0xFFFF),
            static_cast<unsigned>(size >> 16), 0, timeout_ms};
}

#endif
