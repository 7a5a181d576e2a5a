// An audio transport on the simulated bus.
#ifndef TESTS_AUDIO_AUDIO_FIXTURE_H
#define TESTS_AUDIO_AUDIO_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libusb.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "audio/audio_event_thread.h"
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
using test_support::WaitUntil;
using vcam::standin::Bus;
using vcam::standin::Call;

/// A camera whose microphone sends packets as large as high speed allows, so
/// that a transfer can hold more than a chunk.
class LoudCamera : public ScriptedCamera {
public:
    static constexpr std::size_t kPacket = 3072;  // three transactions of 1024 bytes

    Bytes ConfigurationDescriptor() const override
    {
        Bytes bytes = ScriptedCamera::ConfigurationDescriptor();
        for (std::size_t at = 0; at + 6 < bytes.size(); at += bytes[at]) {
            if (bytes[at + 1] == 5 && bytes[at + 2] == kAudioEndpoint) {
                bytes[at + 4] = 0x00;
                bytes[at + 5] = 0x14;
            }
        }
        return bytes;
    }
};

template <typename Transport, typename Camera = ScriptedCamera>
class AudioTest : public testing::Test {
protected:
    static constexpr int kRate = 24000;

    AudioTest()
    {
        m_bus.Attach(m_camera);
        m_bus.OnCall("completion", vcam::standin::When::kAfter,
                     [this](const Call&) { ++m_completions; });
    }

    void TearDown() override
    {
        m_audio.reset();
        EXPECT_TRUE(BusIsClean({test_support::kAudioReleasesForeignInterface}));
        m_bus.Reset();
    }

    int Init() { return m_audio->Init(TORVIK_CAM_VENDOR_ID, TORVIK_CAM_PRODUCT_ID); }

    void InitAndEnable()
    {
        ASSERT_EQ(Init(), 0);
        ASSERT_EQ(m_audio->UAC_EnableAudioStream(kRate), 0);
    }

    /// Handles events on this thread until `done`.
    template <typename Predicate>
    bool Pump(Predicate done)
    {
        return WaitUntil([&] {
            if (done())
                return true;
            m_audio->handle_libusb_event();
            return done();
        });
    }
    /// Handles events until this many transfers have completed in all.
    void PumpCompletions(int count)
    {
        ASSERT_TRUE(Pump([&] { return m_completions >= count; }));
    }

    std::vector<Call> CallsOf(const std::string& function) const
    {
        std::vector<Call> calls;
        for (Call& call : m_bus.CallLog()) {
            if (call.function == function)
                calls.push_back(std::move(call));
        }
        return calls;
    }

    static Bytes Tone(std::size_t size, std::uint8_t first)
    {
        Bytes bytes(size);
        for (std::size_t i = 0; i < size; ++i)
            bytes[i] = static_cast<std::uint8_t>(first + i);
        return bytes;
    }

    std::atomic<int> m_completions{0};
    Bus& m_bus = Bus::Instance();
    std::shared_ptr<Camera> m_camera = std::make_shared<Camera>();
    CapturedLog m_log;
    FastSleeps m_sleeps{20};
    std::unique_ptr<Transport> m_audio = std::make_unique<Transport>();
};

/// Without an event thread: the test itself handles events.
using TransportTest = AudioTest<CLibUSB_UacCtrl>;
using EventThreadTest = AudioTest<CKEL_AUDIO_LIB>;

#endif
