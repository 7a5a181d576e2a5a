// Every property and capability, asked and set while the camera is connected,
// recording and unplugged. With PRINT_PROPERTY_TABLE in the environment the
// table is printed, expected and seen.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "camera/camera.h"
#include "tests/support/log_level.h"
#include "tests/support/sleeps.h"
#include "tests/support/tv_root.h"
#include "virtual_camera/model/camera_model.h"
#include "virtual_camera/standin/bus.h"

namespace {

using test_support::WaitUntil;
using vcam::standin::Bus;

enum State { kConnected, kRecording, kDisconnected };

struct PropertyRow {
    unsigned id;
    const char* get[3];  ///< by state: "no", or the value
    std::int32_t value;  ///< to set
    const char* set;     ///< by state: y or n
};

constexpr PropertyRow kUnknown{0, {"no", "no", "no"}, 1, "nnn"};
constexpr PropertyRow kRecordedOnly{0, {"no", "no", "no"}, 1, "yyy"};

/// Platform Calder, a camera at its power-on values. Ids that are missing here
/// are unknown, or recorded only.
constexpr PropertyRow kProperties[] = {
    {0, {"2000000", "2000000", "2000000"}, 1500000, "yyn"},
    {1, {"30", "30", "30"}, 15, "yyn"},
    {2, {"no", "no", "no"}, 0, "yyn"},
    {3, {"31457920", "31457920", "31457920"}, 0x02D00500, "nyn"},
    {4, {"30", "30", "30"}, 50, "yyn"},
    {5, {"24000", "24000", "24000"}, 48000, "yyy"},
    {7, {"100", "100", "0"}, 200, "yyn"},
    {8, {"0", "0", "0"}, 2, "yyn"},
    {9, {"1", "1", "1"}, 2, "yyn"},
    {10, {"no", "no", "no"}, 1, "yyn"},
    {11, {"no", "no", "no"}, 1, "yyy"},
    {15, {"no", "no", "no"}, 3, "nyn"},
    {20, {"no", "no", "no"}, 0x00100010, "yyy"},
    {21, {"no", "no", "no"}, 0, "yyy"},
    {24, {"no", "no", "no"}, 1, "nyn"},
    {52, {"18", "18", "no"}, 1, "nnn"},
    {63, {"1", "1", "1"}, 1, "yyy"},
    {66, {"no", "no", "no"}, 0x00100010, "yyy"},
    {68, {"0", "0", "0"}, 7, "yyn"},
    {70, {"1", "1", "no"}, 1, "nnn"},
    {71, {"1", "1", "0"}, 1, "nnn"},
    {72, {"1", "1", "0"}, 1, "nnn"},
};
constexpr unsigned kRecordedIds[] = {12, 13, 14, 18, 19, 25, 26, 27, 28, 29, 30,
                                     31, 32, 34, 35, 36, 37, 38, 39, 43, 64};
constexpr unsigned kLastProperty = 73;
constexpr char kCapabilities[] = "nynynnnyynnyn";  ///< 0 to 12, in every state

PropertyRow Expected(unsigned id)
{
    PropertyRow row = kUnknown;
    for (const unsigned recorded : kRecordedIds)
        if (recorded == id)
            row = kRecordedOnly;
    for (const PropertyRow& known : kProperties)
        if (known.id == id)
            row = known;
    row.id = id;
    return row;
}

std::atomic<int> g_ready{0};
std::atomic<int> g_gone{0};

void OnInit(bool ready)
{
    ++(ready ? g_ready : g_gone);
}

class PropertyTable : public testing::TestWithParam<State> {
protected:
    PropertyTable()
    {
        g_ready = 0;
        g_gone = 0;
        Bus::Instance().Attach(m_model);
    }
    ~PropertyTable() override { Bus::Instance().Reset(); }

    void Reach(State state)
    {
        m_camera->Init(OnInit, 0);
        ASSERT_TRUE(WaitUntil([] { return g_ready == 1; }));
        ASSERT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
        // The mains frequency is set behind the call-back.
        if (state == kRecording) {
            ASSERT_TRUE(m_camera->StartRecording());
            ASSERT_EQ(m_camera->GetState(), CAM_STATE_RECORDING);
        } else if (state == kDisconnected) {
            m_model->Unplug();
            ASSERT_TRUE(WaitUntil([] { return g_gone == 1; }));
            ASSERT_EQ(m_camera->GetState(), CAM_STATE_DISCONNECTED);
        }
    }
    std::string Get(unsigned id)
    {
        constexpr std::int32_t kUntouched = 0x5AFEF00D;
        CAM_PROP_VALUE value{kUntouched, {0, 0}};
        return m_camera->GetProperty(static_cast<CAM_PROPERTY>(id), &value)
                   ? std::to_string(value.value)
                   : "no";
    }
    bool Set(const PropertyRow& row)
    {
        CAM_PROP_VALUE value{row.value, {0, 0}};
        return m_camera->SetProperty(static_cast<CAM_PROPERTY>(row.id), &value);
    }
    static void Print(const char* what, unsigned id, const std::string& expected,
                      const std::string& seen)
    {
        static const bool wanted = std::getenv("PRINT_PROPERTY_TABLE") != nullptr;
        if (wanted)
            std::fprintf(stderr, "%-12s %-10s %2u  expected %-9s seen %-9s%s\n", StateName(), what,
                         id, expected.c_str(), seen.c_str(), expected == seen ? "" : "  <---");
    }
    static const char* StateName()
    {
        constexpr const char* kNames[] = {"connected", "recording", "disconnected"};
        return kNames[GetParam()];
    }

    std::shared_ptr<vcam::CameraModel> m_model = std::make_shared<vcam::CameraModel>();
    test_support::CapturedLog m_log{1};
    test_support::FastSleeps m_sleeps{100};
    std::unique_ptr<CKelVeskCamera> m_camera;
};

TEST_P(PropertyTable, AnswersAsExpected)
{
    REQUIRE_TV_ROOT();
    test_support::TvRoot::Write("/mtd_exe/.info", "xxxxx10");  // Calder
    m_camera = std::make_unique<CKelVeskCamera>();
    const State state = GetParam();
    Reach(state);
    if (testing::Test::HasFatalFailure())
        return;

    for (unsigned id = 0; id < sizeof kCapabilities - 1; ++id) {
        const bool yes = kCapabilities[id] == 'y';
        const bool seen = m_camera->GetCapability(static_cast<CAM_CAPABILITY>(id));
        Print("capability", id, yes ? "yes" : "no", seen ? "yes" : "no");
        EXPECT_EQ(seen, yes) << "capability " << id;
    }
    for (unsigned id = 0; id <= kLastProperty; ++id) {
        const std::string expected = Expected(id).get[state];
        const std::string seen = Get(id);
        Print("get", id, expected, seen);
        EXPECT_EQ(seen, expected) << "get " << id;
    }
    for (unsigned id = 0; id <= kLastProperty; ++id) {
        const PropertyRow row = Expected(id);
        const bool expected = row.set[state] == 'y';
        const bool seen = Set(row);
        Print("set", id, expected ? "yes" : "no", seen ? "yes" : "no");
        EXPECT_EQ(seen, expected) << "set " << id;
    }
    // What was recorded, in every state.
    EXPECT_EQ(Get(0), "1500000");
    EXPECT_EQ(Get(1), "15");
    EXPECT_EQ(Get(3), std::to_string(0x02D00500));
    EXPECT_EQ(Get(4), state == kDisconnected ? "30" : "50");
    EXPECT_EQ(Get(5), "24000");
    EXPECT_EQ(Get(7), state == kDisconnected ? "0" : "200");
    EXPECT_EQ(Get(8), state == kDisconnected ? "0" : "2");
    EXPECT_EQ(Get(68), "7");
}

TEST_P(PropertyTable, NullValuesAreRefused)
{
    m_camera = std::make_unique<CKelVeskCamera>();
    Reach(GetParam());
    if (testing::Test::HasFatalFailure())
        return;
    for (unsigned id = 0; id <= kLastProperty; ++id) {
        EXPECT_FALSE(m_camera->GetProperty(static_cast<CAM_PROPERTY>(id), nullptr)) << id;
        EXPECT_FALSE(m_camera->SetProperty(static_cast<CAM_PROPERTY>(id), nullptr)) << id;
    }
}

std::string CapitalName(const testing::TestParamInfo<State>& row)
{
    constexpr const char* kNames[] = {"Connected", "Recording", "Disconnected"};
    return kNames[row.param];
}

INSTANTIATE_TEST_SUITE_P(States, PropertyTable,
                         testing::Values(kConnected, kRecording, kDisconnected), CapitalName);

}  // namespace
