// A camera that misbehaves, on a real bus: nothing hangs, the driver says what
// it saw, and the kernel does not complain (which the test run looks after).
#include <fcntl.h>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>

#include <cstring>

#include "tests/kernel/kernel_fixture.h"
#include "tests/kernel/process_state.h"
#include "virtual_camera/vhci/port.h"

namespace kernel_test
{
namespace
{

class Faults : public KernelTest
{
protected:
    /// Connected, with the fault script counting from here.
    void Start(const std::string& faults)
    {
        CreateAndInit(kDualH264);
        m_main = &Observe(CAM_STREAM_H264_MAIN);
        m_camera.AddFaults(faults);
        ASSERT_TRUE(m_subject->StartRecording());
    }
    bool GoesOn() const { return m_main->WaitFor(m_main->Count() + 15); }
    void ExpectStops()
    {
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_TRUE(m_subject->StopRecording());
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    }

    FrameCollector* m_main = nullptr;
};

struct Bulk {
    const char* name;
    const char* fault;
    const char* line;
};

void PrintTo(const Bulk& bulk, std::ostream* out)
{
    *out << bulk.name;
}

class StreamFault : public Faults, public testing::WithParamInterface<Bulk>
{
};

TEST_P(StreamFault, IsLoggedAndTheStreamGoesOn)
{
    Start(GetParam().fault);
    EXPECT_TRUE(m_log.WaitFor(GetParam().line));
    EXPECT_TRUE(GoesOn());
    ExpectStops();
}

INSTANTIATE_TEST_SUITE_P(
    All, StreamFault,
    testing::Values(
        Bulk{"Stall", "payload at 20 stall\n", "Audio Transfer Unknown Status=4\r\n"},
        Bulk{"Error", "payload at 20 error\n", "Audio Transfer Unknown Status=1\r\n"},
        Bulk{"Overflow", "payload at 20 overflow\n", "LIBUSB_TRANSFER_OVERFLOW! EP = 81\n"},
        Bulk{"ErrorBit", "payload every 40 err\n", "Dropping payload (error bit set).\n"},
        Bulk{"BadHeader", "payload every 5 header 2\n", "UVC Payload Header Length = 2\n"},
        Bulk{"Silence", "payload at 20 timeout\n", "LIBUSB_TRANSFER_TIMED_OUT! EP = 81\n"},
        Bulk{"SoundStall", "iso at 20 stall\n", "Audio Transfer Unknown Status="},
        Bulk{"SoundError", "iso at 20 error\n", "Audio Transfer Unknown Status="}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(Faults, EndpointThatNeverAnswersAgainStopsAllTheSame)
{
    Start("payload from 20 timeout\n");
    EXPECT_TRUE(m_log.WaitFor("LIBUSB_TRANSFER_TIMED_OUT! EP = 81\n", 2));
    ExpectStops();
}

TEST_F(Faults, ShortAnswerFailsTheNegotiation)
{
    CreateAndInit(kDualH264);
    m_camera.AddFaults("control type 0xa1 request 0x81 entity 0 selector 1 at 1 short 10\n");
    EXPECT_FALSE(m_subject->StartRecording());
    EXPECT_TRUE(m_log.Contains("UVC_query_ctrl Error:Probe UVC_GET_CUR\n"));
    m_subject->StopRecording();
    EXPECT_TRUE(m_subject->StartRecording());
    EXPECT_TRUE(m_subject->StopRecording());
}

TEST_F(Faults, ControlThatStallsOrNeverAnswersFailsInItsTime)
{
    CreateAndInit();
    m_camera.AddFaults(
        "control entity 1 selector 0x0b at 1 stall\n"
        "control entity 1 selector 0x0b at 2 timeout\n");
    EXPECT_FALSE(Set(CAM_PROPERTY_ZOOM, 200));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(Set(CAM_PROPERTY_ZOOM, 300));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    EXPECT_TRUE(Set(CAM_PROPERTY_ZOOM, 400));
    EXPECT_EQ(m_camera.ControlValue(1, 0x0B), 400);
}

/// What some other program, or a hub in trouble, does to a device in use.
void ResetDevice()
{
    const auto device = FindCamera();
    ASSERT_TRUE(device);
    char path[64];
    std::snprintf(path, sizeof path, "/dev/bus/usb/001/%03d", device->number);
    const vcam::vhci::File file(open(path, O_RDWR | O_CLOEXEC));
    ASSERT_TRUE(file.Open()) << path;
    EXPECT_EQ(ioctl(file.Get(), USBDEVFS_RESET), 0) << std::strerror(errno);
}

TEST_F(Faults, ResetWhileStreamingDoesNotHang)
{
    Start("");
    ASSERT_TRUE(m_main->WaitFor(10));
    ResetDevice();
    m_subject->StopRecording();
    Destroy();
    CreateAndInit(kDualH264);
    m_main = &Observe(CAM_STREAM_H264_MAIN);
    ASSERT_TRUE(m_subject->StartRecording());
    EXPECT_TRUE(GoesOn());
    ExpectStops();
}

class UnplugAt : public KernelTest, public testing::WithParamInterface<const char*>
{
};

using StartUp = UnplugAt;

TEST_P(StartUp, TellsTheHostOnceAndLeavesNothing)
{
    const ProcessState before;
    m_camera.AddFaults(GetParam());
    Create(kDualH264);
    Init();
    if (g_ready == 1) {
        m_subject->StartRecording();
        ASSERT_TRUE(WaitUntil([] { return g_failed > 0; }));
    }
    EXPECT_EQ(g_failed, 1);
    EXPECT_TRUE(WaitUntil([this] { return m_subject->GetState() == CAM_STATE_DISCONNECTED; }));
    Destroy();
    before.ExpectUnchanged();
}

std::string PointName(const testing::TestParamInfo<const char*>& row)
{
    std::string name;
    for (const char* at = row.param; *at != '\0' && *at != '\n'; ++at)
        if (std::isalnum(static_cast<unsigned char>(*at)) != 0)
            name += *at;
    return name;
}

INSTANTIATE_TEST_SUITE_P(UnplugAt, StartUp,
                         testing::Values("control at 1 unplug", "control at 2 unplug",
                                         "control at 4 unplug", "control at 7 unplug",
                                         "control at 12 unplug", "control at 20 unplug",
                                         "control at 29 unplug", "payload at 1 unplug",
                                         "payload at 60 unplug", "iso at 3 unplug"),
                         PointName);

struct DownloadPoint {
    const char* identity;
    const char* fault;
    /// The open that asks a boot loader for an interface which it does not have
    /// leaves its handle and context as they are.
    std::size_t files_left, threads_left;
};

void PrintTo(const DownloadPoint& point, std::ostream* out)
{
    *out << point.identity << ", " << point.fault;
}

class Download : public KernelTest, public testing::WithParamInterface<DownloadPoint>
{
protected:
    std::string Script() const override
    {
        return std::string("set identity ") + GetParam().identity + "\n";
    }
};

TEST_P(Download, TellsTheHostOnceAndLeavesNothing)
{
    TvRoot::Write("/mtd_rwarea/wiru/bin/TorvikFW.bin", std::string(100000, 'f'));
    const ProcessState before;
    m_camera.AddFaults(GetParam().fault);
    Create();
    Init();
    EXPECT_EQ(g_ready, 0);
    EXPECT_EQ(g_failed, 1);
    EXPECT_EQ(m_subject->GetState(), CAM_STATE_DISCONNECTED);
    Destroy();
    before.ExpectUnchanged(GetParam().files_left, GetParam().threads_left);
}

std::string DownloadName(const testing::TestParamInfo<DownloadPoint>& row)
{
    return std::string(row.param.files_left == 0 ? "Bulk_" : "ExtensionUnit_") +
           PointName(testing::TestParamInfo<const char*>(row.param.fault, row.index));
}

// Over the bulk path a controller that leaves may be one that restarts, so the
// driver looks for the camera 152 times before it gives up.
INSTANTIATE_TEST_SUITE_P(
    UnplugAt, Download,
    testing::Values(DownloadPoint{"boot-loader", "control at 2 unplug", 0, 0},
                    DownloadPoint{"boot-loader", "block at 3 unplug", 0, 0},
                    DownloadPoint{"boot-loader-uvc", "control at 3 unplug", 5, 1},
                    DownloadPoint{"boot-loader-uvc", "control at 4 unplug", 5, 1},
                    DownloadPoint{"boot-loader-uvc", "control at 10 unplug", 5, 1},
                    DownloadPoint{"boot-loader-uvc", "block at 1 unplug", 5, 1},
                    DownloadPoint{"boot-loader-uvc", "block at 2 unplug", 5, 1},
                    DownloadPoint{"boot-loader-uvc", "block at 20 unplug", 5, 1},
                    DownloadPoint{"boot-loader-uvc", "block at 100 unplug", 5, 1},
                    DownloadPoint{"boot-loader-uvc", "block at 1000 unplug", 5, 1}),
    DownloadName);

}  // namespace
}  // namespace kernel_test
