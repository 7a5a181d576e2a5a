// A camera object on the simulated bus, brought to any state without the
// firmware loader's waits.
#ifndef TESTS_CAMERA_CAMERA_FIXTURE_H
#define TESTS_CAMERA_CAMERA_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libusb.h>

#include <memory>
#include <string>
#include <vector>

#include "camera/camera.h"
#include "tests/support/bus_check.h"
#include "tests/support/frame_collector.h"
#include "tests/support/log_level.h"
#include "tests/support/log_lines.h"
#include "tests/support/scripted_camera.h"
#include "tests/support/sleeps.h"
#include "tests/support/tv_root.h"
#include "virtual_camera/standin/bus.h"

using test_support::Bytes;
using test_support::BusIsClean;
using test_support::CapturedLog;
using test_support::FastSleeps;
using test_support::FrameCollector;
using test_support::HasLine;
using test_support::InOrder;
using test_support::ScriptedCamera;
using test_support::TvRoot;
using test_support::WaitUntil;
using vcam::TransferStatus;
using vcam::standin::Bus;

/// First bytes of the platform file.
constexpr char kBrevan[] = "xxxxx12";
constexpr char kCalder[] = "xxxxx10";
constexpr char kDorsin[] = "xxExP";
constexpr char kFerrowA[] = "xxxxP";
constexpr char kFerrowB[] = "xxxxS";
constexpr char kOther[] = "xxxxx";

class CameraTest : public testing::Test {
protected:
    CameraTest()
    {
        m_bus.Attach(m_device);
        // Answers of a controller that has nothing to say: to the transports,
        // and to the loader, whose watch takes a stall for a lost camera.
        for (const auto request_type : {std::uint8_t{0xA1}, std::uint8_t{0xA0}}) {
            m_device->SetReply(request_type, 0x81, 0x0F00, 0x0600, {Bytes(16, 0)});
            m_device->SetReply(request_type, 0x81, 0x0200, 0x0600, {Bytes(8, 0)});
        }
    }
    void SetUp() override
    {
        REQUIRE_TV_ROOT();
        TvRoot::Clear();
    }
    void TearDown() override
    {
        m_camera.reset();
        EXPECT_TRUE(BusIsClean({test_support::kAudioReleasesForeignInterface}));
        m_bus.Reset();
    }

    /// The log is read at full verbosity, whatever the marker files say.
    void Make(const char* platform = kOther)
    {
        TvRoot::Write("/mtd_rwarea/camera_l5", "");
        TvRoot::Write("/mtd_exe/.info", platform);
        m_camera = std::make_unique<CKelVeskCamera>();
    }
    /// What the loader does when the firmware runs.
    void Connect()
    {
        CKelVeskCamera::CamInitDoneCallback(0, m_camera.get());
        ASSERT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
        m_device->ClearLog();
        m_log.Clear();
    }
    void MakeAndConnect(const char* platform)
    {
        Make(platform);
        Connect();
    }
    void Record(const char* platform)
    {
        MakeAndConnect(platform);
        ASSERT_TRUE(m_camera->StartRecording());
        ASSERT_EQ(m_camera->GetState(), CAM_STATE_RECORDING);
        m_device->ClearLog();
        m_log.Clear();
    }

    bool Set(CAM_PROPERTY property, std::int32_t value, std::int32_t res0 = 0)
    {
        CAM_PROP_VALUE record{value, {res0, 0}};
        return m_camera->SetProperty(property, &record);
    }
    std::int32_t Get(CAM_PROPERTY property)
    {
        CAM_PROP_VALUE record{-4711, {0, 0}};
        EXPECT_TRUE(m_camera->GetProperty(property, &record));
        return record.value;
    }
    /// The controller's option word from now on.
    void OfferOptions(std::uint32_t word)
    {
        Bytes reply(16, 0);
        for (std::size_t i = 0; i < 4; ++i)
            reply[1 + i] = static_cast<std::uint8_t>(word >> (8 * i));
        m_device->SetReply(0xA1, 0x81, 0x0F00, 0x0600, {reply});
    }
    /// "selector: bytes" of every command, without the zeros at the end.
    std::vector<std::string> Commands() const
    {
        std::vector<std::string> commands;
        for (const auto& request : m_device->Of(test_support::Received::kControl)) {
            if (request.setup.request != 0x01 || request.setup.index != 0x0600)
                continue;
            std::size_t used = request.data.size();
            while (used > 2 && request.data[used - 1] == 0)
                --used;
            std::string text = std::to_string(request.setup.value >> 8) + ":";
            for (std::size_t i = 0; i < used; ++i)
                text += " " + std::to_string(request.data[i]);
            commands.push_back(text);
        }
        return commands;
    }

    Bus& m_bus = Bus::Instance();
    std::shared_ptr<ScriptedCamera> m_device = std::make_shared<ScriptedCamera>();
    CapturedLog m_log;
    FastSleeps m_sleeps{50};
    std::unique_ptr<CKelVeskCamera> m_camera;
};

#endif
