// Properties, capabilities and video options without a camera object: settings,
// a real video adapter on the simulated bus, and stand-ins for the rest.
#ifndef TESTS_CONTROL_CONTROL_FIXTURE_H
#define TESTS_CONTROL_CONTROL_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libusb.h>

#include <memory>
#include <string>
#include <vector>

#include "control/control_context.h"
#include "tests/support/bus_check.h"
#include "tests/support/log_level.h"
#include "tests/support/log_lines.h"
#include "tests/support/scripted_camera.h"
#include "tests/support/sleeps.h"
#include "virtual_camera/standin/bus.h"

using test_support::Bytes;
using test_support::BusIsClean;
using test_support::CapturedLog;
using test_support::FastSleeps;
using test_support::HasLine;
using test_support::InOrder;
using test_support::ScriptedCamera;
using vcam::TransferStatus;
using vcam::standin::Bus;

constexpr char kUnreachable[] =
    "video_capturer is NULL or m_State is CAM_STATE_DISCONNECTED !!! \r\n";

class FakeAudio : public IAudioCapture {
public:
    bool ConfigureDev(unsigned char, unsigned int, unsigned int) override { return true; }
    int UnConfigureDev() override { return 0; }
    int ReadAudioData(unsigned char*, unsigned int) override { return 0; }
    bool SetVolume(int percent) override
    {
        volumes.push_back(percent);
        return volume_result;
    }
    int GetBuf(unsigned char**, unsigned int*) override { return 0; }
    int RetBuf() override { return 0; }

    std::vector<int> volumes;
    bool volume_result = true;
};

/// Counts starts and stops.
class FakeCamera : public ICameraSubject {
public:
    void Init(void (*)(bool), int) override {}
    bool RegisterObserver(ICameraObserver*) override { return false; }
    bool RemoveObserver(ICameraObserver*) override { return false; }
    int OnFrameArrival(const CCameraData*) override { return 0; }
    bool StartRecording() override { return calls.push_back("start"), start_result; }
    bool StopRecording() override { return calls.push_back("stop"), true; }
    bool SetProperty(CAM_PROPERTY, CAM_PROP_VALUE*) override { return false; }
    bool GetProperty(CAM_PROPERTY, CAM_PROP_VALUE*) override { return false; }
    bool GetCapability(CAM_CAPABILITY) override { return false; }
    bool SetStreamFormat(CAM_STR_FORMAT) override { return false; }
    bool Execute(int, const char**) override { return false; }
    bool StartTest() override { return false; }
    bool StopTest() override { return false; }
    bool PrintStatus() override { return false; }

    std::vector<std::string> calls;
    bool start_result = true;
};

class ControlTest : public testing::Test {
protected:
    ControlTest()
    {
        m_bus.Attach(m_camera);
        m_video = std::make_unique<KelUvcCapture>(TORVIK_CAM_VENDOR_ID, TORVIK_CAM_PRODUCT_ID);
        m_log.Clear();
    }
    void TearDown() override
    {
        m_video.reset();
        EXPECT_TRUE(BusIsClean());
        m_bus.Reset();
    }

    ControlContext Context()
    {
        return {m_settings, m_subject, m_state, m_with_video ? m_video.get() : nullptr,
                m_with_audio ? &m_audio : nullptr, m_firmware,
                [](int level) { return level >= 1 && level <= 5; }};
    }

    /// What an extension-unit control was sent, in order.
    std::vector<Bytes> Commands(std::uint8_t selector) const
    {
        std::vector<Bytes> commands;
        for (const auto& request :
             m_camera->Controls(0x21, 0x01, static_cast<std::uint16_t>(selector << 8), 0x0600))
            commands.push_back(request.data);
        return commands;
    }
    std::size_t Requests() const { return m_camera->Of(test_support::Received::kControl).size(); }
    void Refuse(std::uint8_t selector)
    {
        m_camera->SetReply(0x21, 0x01, static_cast<std::uint16_t>(selector << 8), 0x0600,
                           {{}, TransferStatus::kStall});
    }
    void Answer(std::uint8_t selector, Bytes reply)
    {
        m_camera->SetReply(0xA1, 0x81, static_cast<std::uint16_t>(selector << 8), 0x0600,
                           {std::move(reply)});
    }
    /// A command frame: these bytes, then zeros.
    static Bytes Frame(Bytes begin, std::size_t size)
    {
        begin.resize(size);
        return begin;
    }

    Bus& m_bus = Bus::Instance();
    std::shared_ptr<ScriptedCamera> m_camera = std::make_shared<ScriptedCamera>();
    CapturedLog m_log;
    FastSleeps m_sleeps{100};
    CameraSettings m_settings;
    FakeCamera m_subject;
    FakeAudio m_audio;
    FirmwareLoaderSlot m_firmware;
    CAM_STATE m_state = CAM_STATE_CONNECTED;
    bool m_with_video = true;
    bool m_with_audio = true;
    std::unique_ptr<KelUvcCapture> m_video;
};

#endif
