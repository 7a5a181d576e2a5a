// The camera object's diagnostic operations, which do nothing.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "camera/camera.h"
#include "tests/support/log_level.h"
#include "tests/support/tv_root.h"

namespace {

using test_support::CapturedLog;
using test_support::TvRoot;

class Diagnostics : public testing::Test {
protected:
    void SetUp() override
    {
        REQUIRE_TV_ROOT();
        TvRoot::Clear();
        m_log = std::make_unique<CapturedLog>(5);
        m_camera = std::make_unique<CKelVeskCamera>();
        g_embedded_cam_dbg_level = 5;  // the constructor loaded it
        m_log->Clear();
    }

    void ExpectNotSupported(const std::string& operation, bool result)
    {
        EXPECT_TRUE(result);
        const auto entries = m_log->Entries();
        ASSERT_EQ(entries.size(), 1U);
        EXPECT_EQ(entries[0].level, 4);
        EXPECT_EQ(entries[0].function, operation);
        EXPECT_EQ(entries[0].message,
                  "CKelVeskCamera::" + operation + "() Not support now.\r\n");
    }

    std::unique_ptr<CapturedLog> m_log;
    std::unique_ptr<CKelVeskCamera> m_camera;
};

TEST_F(Diagnostics, ExecuteReturnsFalseAndDoesNothing)
{
    const char* words[] = {"reboot", nullptr};
    EXPECT_FALSE(m_camera->Execute(1, words));
    EXPECT_FALSE(m_camera->Execute(0, nullptr));
    EXPECT_EQ(m_log->Text(), "");
}

TEST_F(Diagnostics, StartTestIsNotSupported)
{
    ExpectNotSupported("StartTest", m_camera->StartTest());
}

TEST_F(Diagnostics, StopTestIsNotSupported)
{
    ExpectNotSupported("StopTest", m_camera->StopTest());
}

TEST_F(Diagnostics, PrintStatusIsNotSupported)
{
    ExpectNotSupported("PrintStatus", m_camera->PrintStatus());
}

}  // namespace
