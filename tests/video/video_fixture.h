// A scripted camera on the simulated bus and the video transport on it.
#ifndef TESTS_VIDEO_VIDEO_FIXTURE_H
#define TESTS_VIDEO_VIDEO_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/bus_check.h"
#include "tests/support/log_level.h"
#include "tests/support/scripted_camera.h"
#include "tests/support/sleeps.h"
#include "tests/support/wait_until.h"
#include "tests/video/usb_calls.h"
#include "usb/usb_identity.h"
#include "video/video_event_thread.h"
#include "virtual_camera/standin/bus.h"

using test_support::BusIsClean;
using test_support::Bytes;
using test_support::CapturedLog;
using test_support::FastSleeps;
using test_support::ScriptedCamera;
using test_support::WaitUntil;
using testing::ElementsAre;
using testing::IsEmpty;
using vcam::standin::Bus;
using vcam::standin::Call;
using vcam::standin::CompletionOverride;
using vcam::standin::When;

/// Header flags of a payload.
enum : std::uint8_t { kFid = 0x01, kEof = 0x02, kErr = 0x40 };

/// The transport with its event thread, its state laid open.
class Transport : public CKEL_CAM_LIB {
public:
    ~Transport() override { pThread::Stop(); }
    using CLibUSB_UvcCtrl::DeviceHandle;
    using CLibUSB_UvcCtrl::IsStreaming;
};

/// The transport without an event thread: the test handles its events.
class PumpedTransport : public CLibUSB_UvcCtrl {
public:
    using CLibUSB_UvcCtrl::IsStreaming;
};

class VideoTest : public testing::Test {
protected:
    VideoTest() { m_bus.Attach(m_camera); }

    void TearDown() override { m_bus.Reset(); }

    /// Nothing is left open and nothing was misused, once `transport` is gone.
    template <typename T>
    void CloseCleanly(std::unique_ptr<T>& transport)
    {
        transport.reset();
        EXPECT_TRUE(BusIsClean());
    }

    Bus& m_bus = Bus::Instance();
    std::shared_ptr<ScriptedCamera> m_camera = std::make_shared<ScriptedCamera>();
    FastSleeps m_sleeps{50};
    CapturedLog m_log;
};

/// A test that is the event thread and the consumer in one.
class PumpedTest : public VideoTest {
protected:
    static constexpr std::uint32_t kFrameSize = 4096;
    static constexpr std::uint32_t kPayloadSize = 1024;
    static constexpr std::uint32_t kBufferSize = kFrameSize + kPayloadSize;

    void SetUp() override
    {
        m_camera->OfferVideo(kFrameSize, kPayloadSize);
        m_transport = std::make_unique<PumpedTransport>();
        ASSERT_EQ(m_transport->Init(CAM_VENDOR_ID, CAM_PRODUCT_ID), 0);
    }

    void Enable()
    {
        ASSERT_EQ(m_transport->UVC_EnableVideoStream(3, 4, 30), 0);
        m_log.Clear();
    }

    void TearDown() override
    {
        if (m_transport && m_transport->IsStreaming())
            m_transport->UVC_DisableVideoStream();
        CloseCleanly(m_transport);
        VideoTest::TearDown();
    }

    /// Handles events until the device has given all that is queued.
    void Pump()
    {
        while (m_camera->Queued(ScriptedCamera::kVideoEndpoint) > 0)
            m_transport->handle_libusb_event();
    }

    void Send(std::uint8_t flags, const Bytes& data = {}, std::uint8_t header_length = 12)
    {
        m_camera->QueuePayload(flags, data, header_length);
        Pump();
    }

    /// The next complete frame; empty when there is none.
    Bytes NextFrame()
    {
        unsigned char* data = nullptr;
        unsigned int size = 0;
        if (m_transport->DequeFrameBuf(&data, &size) == 0)
            return {};
        const Bytes frame(data, data + size);
        m_transport->QueueFrameBuf();
        return frame;
    }

    std::size_t Submissions() const { return m_bus.CallCount("libusb_submit_transfer"); }

    std::unique_ptr<PumpedTransport> m_transport;
};

/// `length` bytes that depend on `seed`.
inline Bytes Pattern(std::size_t length, unsigned seed)
{
    Bytes bytes(length);
    for (std::size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<std::uint8_t>(seed * 31 + i * 7 + (i >> 8));
    return bytes;
}

inline Bytes Joined(const Bytes& first, const Bytes& second)
{
    Bytes bytes = first;
    bytes.insert(bytes.end(), second.begin(), second.end());
    return bytes;
}

#endif
