// A camera that is lost while recording is being started or stopped stays lost.
#include <future>
#include <ostream>

#include "tests/camera/camera_fixture.h"
#include "tests/video/gate.h"

namespace {

using namespace std::chrono_literals;
using vcam::standin::Call;
using vcam::standin::When;

/// A libusb call in the course of a start or a stop.
struct Moment {
    const char* name;
    const char* function;
    bool (*is)(const Call& call);
};

std::ostream& operator<<(std::ostream& out, const Moment& moment)
{
    return out << moment.name;
}

struct MomentName {
    std::string operator()(const testing::TestParamInfo<Moment>& info) const
    {
        return info.param.name;
    }
};

class Loss : public CameraTest {
protected:
    void TearDown() override
    {
        m_gate.Open();
        CameraTest::TearDown();
    }
    /// Whoever makes this call waits in it until the gate is opened.
    void HoldAt(const Moment& moment)
    {
        m_bus.OnCall(moment.function, When::kBefore, [this, moment](const Call& call) {
            if (moment.is(call))
                m_gate.Pass();
        });
    }
    /// `operation` runs on a thread of its own; the loader reports the loss
    /// while it is held. The operation's result.
    bool LoseDuring(bool (*operation)(CKelVeskCamera&))
    {
        std::future<bool> result =
            std::async(std::launch::async, [this, operation] { return operation(*m_camera); });
        EXPECT_TRUE(m_gate.WaitArrived());
        std::future<void> loss = std::async(std::launch::async, [this] {
            CKelVeskCamera::CamInitDoneCallback(kNoDevice, m_camera.get());
        });
        // It need not wait for the operation, but it may.
        loss.wait_for(5s);
        m_gate.Open();
        loss.get();
        return result.get();
    }

    static constexpr unsigned kNoDevice = 1;
    Gate m_gate;
};

bool Start(CKelVeskCamera& camera)
{
    return camera.StartRecording();
}

bool Stop(CKelVeskCamera& camera)
{
    return camera.StopRecording();
}

bool IsCommand(const Call& call, std::uint8_t selector, std::uint8_t first)
{
    return call.setup.request == 0x01 && call.setup.index == 0x0600 &&
           call.setup.value == selector << 8 && !call.data.empty() && call.data[0] == first;
}

bool IsRequest(const Call& call, std::uint8_t request_type, std::uint16_t value,
               std::uint16_t index)
{
    return call.setup.request_type == request_type && call.setup.value == value &&
           call.setup.index == index;
}

constexpr char kControl[] = "libusb_control_transfer";

class LossWhileStarting : public Loss, public testing::WithParamInterface<Moment> {};

TEST_P(LossWhileStarting, IsNotForgottenWhenTheStartSucceeds)
{
    MakeAndConnect(kCalder);
    HoldAt(GetParam());
    EXPECT_TRUE(LoseDuring(Start)) << "the start went on";
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_DISCONNECTED);
    EXPECT_TRUE(m_camera->StartRecording()) << "as of any lost camera";
    EXPECT_TRUE(m_log.Contains("StartRecording twice\r\n"));
    EXPECT_FALSE(m_camera->StopRecording());
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_DISCONNECTED);
}

INSTANTIATE_TEST_SUITE_P(
    At, LossWhileStarting,
    testing::Values(
        Moment{"StreamCombination", kControl,
               [](const Call& call) { return IsCommand(call, 14, 1); }},
        Moment{"OptionWord", kControl, [](const Call& call) { return IsCommand(call, 14, 2); }},
        Moment{"StreamTarget", kControl, [](const Call& call) { return IsCommand(call, 14, 13); }},
        Moment{"Commit", kControl,
               [](const Call& call) { return IsRequest(call, 0x21, 0x0200, 0x0001); }},
        Moment{"VideoTransfer", "libusb_submit_transfer",
               [](const Call& call) { return call.endpoint == 0x81; }},
        Moment{"BitRate", kControl, [](const Call& call) { return IsCommand(call, 1, 8); }},
        Moment{"AudioRate", kControl,
               [](const Call& call) { return IsRequest(call, 0x22, 0x0100, 0x0082); }},
        Moment{"AudioTransfer", "libusb_submit_transfer",
               [](const Call& call) { return call.endpoint == 0x82; }},
        Moment{"Volume", kControl,
               [](const Call& call) { return IsRequest(call, 0x21, 0x0200, 0x0503); }},
        Moment{"Led", kControl, [](const Call& call) { return IsCommand(call, 4, 14); }}),
    MomentName());

TEST_F(Loss, IsNotForgottenByAStartThatFails)
{
    MakeAndConnect(kCalder);
    m_device->SetReply(0x21, 0x01, 0x0200, 0x0001, {{}, TransferStatus::kStall});
    HoldAt({"", kControl, [](const Call& call) { return IsRequest(call, 0x21, 0x0200, 0x0001); }});
    EXPECT_FALSE(LoseDuring(Start));
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_DISCONNECTED);
}

TEST_F(Loss, IsNotForgottenByAPropertyThatRestartsRecording)
{
    Record(kCalder);
    HoldAt({"", kControl, [](const Call& call) { return IsRequest(call, 0x21, 0x0200, 0x0001); }});
    EXPECT_TRUE(LoseDuring([](CKelVeskCamera& camera) {
        CAM_PROP_VALUE resolution{0x02D00500, {0, 0}};
        return camera.SetProperty(CAM_PROPERTY_RESOLUTION, &resolution);
    }));
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_DISCONNECTED);
}

class LossWhileStopping : public Loss, public testing::WithParamInterface<Moment> {};

TEST_P(LossWhileStopping, IsNotForgottenAndFailsTheStop)
{
    Record(kCalder);
    HoldAt(GetParam());
    EXPECT_FALSE(LoseDuring(Stop));
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_DISCONNECTED);
}

INSTANTIATE_TEST_SUITE_P(
    At, LossWhileStopping,
    testing::Values(
        Moment{"Led", kControl, [](const Call& call) { return IsCommand(call, 4, 14); }},
        Moment{"AudioCancellation", "libusb_cancel_transfer", [](const Call&) { return true; }},
        Moment{"AudioSetting", "libusb_set_interface_alt_setting",
               [](const Call& call) { return call.interface_number == 3; }},
        Moment{"VideoSetting", "libusb_set_interface_alt_setting",
               [](const Call& call) { return call.interface_number == 1; }}),
    MomentName());

}  // namespace
