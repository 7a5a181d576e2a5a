// The camera's version, as a host thread reads it from the loader.
#include "tests/firmware/loader_fixture.h"

namespace {

class CamVersion : public LoaderTest {
protected:
    void StartWithCamera()
    {
        m_bus.Attach(m_camera);
        Start();
        ASSERT_TRUE(WaitForStatuses(1));
    }
    std::vector<Line> VersionLines() const
    {
        std::vector<Line> lines;
        for (Line& line : LinesOf(m_log))
            if (line.function == "GetCamVersion")
                lines.push_back(std::move(line));
        return lines;
    }
    static Line At(const std::string& message) { return {1, "GetCamVersion", message}; }
};

TEST_F(CamVersion, IsOneWhenTheCameraAnswers)
{
    StartWithCamera();
    EXPECT_EQ(m_loader->GetCamVersion(), 1);
    EXPECT_THAT(VersionLines(), IsEmpty());
}

struct ByteRow {
    const char* name;
    Bytes reply;
    int result;
};

class CamVersionBytes : public CamVersion, public testing::WithParamInterface<ByteRow> {};

TEST_P(CamVersionBytes, CountWhenTheyAreTheSecondFourthOrSixth)
{
    Answer(*m_camera, GetParam().reply);
    StartWithCamera();
    EXPECT_EQ(m_loader->GetCamVersion(), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(Bytes, CamVersionBytes,
                         testing::Values(ByteRow{"First", {0, 0, 1, 0, 0, 0, 0, 0}, 0},
                                         ByteRow{"Second", {0, 0, 0, 1, 0, 0, 0, 0}, 1},
                                         ByteRow{"Third", {0, 0, 0, 0, 1, 0, 0, 0}, 0},
                                         ByteRow{"Fourth", {0, 0, 0, 0, 0, 1, 0, 0}, 1},
                                         ByteRow{"Fifth", {0, 0, 0, 0, 0, 0, 1, 0}, 0},
                                         ByteRow{"Sixth", {0, 0, 0, 0, 0, 0, 0, 1}, 1}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(CamVersion, OfZeroIsLoggedAndZero)
{
    Answer(*m_camera, {0, 0, 0, 0, 0, 0, 0, 0});
    StartWithCamera();
    EXPECT_EQ(m_loader->GetCamVersion(), 0);
    EXPECT_THAT(VersionLines(), ElementsAre(At("Camera Versins is 0\r\n")));
}

TEST_F(CamVersion, ThatCannotBeAskedForIsLoggedAndZero)
{
    StartWithCamera();
    m_bus.FailCall("libusb_control_transfer", 0, LIBUSB_ERROR_PIPE,
                   [](const Call& call) { return call.setup.value == 0x0100; });
    EXPECT_EQ(m_loader->GetCamVersion(), 0);
    EXPECT_THAT(VersionLines(), ElementsAre(At("Get Firmware Version error\r\n")));
}

TEST_F(CamVersion, WithoutADeviceIsLoggedAndZero)
{
    CCameraFwLoader loader(nullptr, nullptr, nullptr);
    EXPECT_EQ(loader.GetCamVersion(), 0);
    EXPECT_THAT(VersionLines(), ElementsAre(At("Get Firmware Version error\r\n")));
}

TEST_F(CamVersion, CanBeReadWhileTheDeviceDisappears)
{
    StartWithCamera();
    m_camera->Plug(false);
    while (!m_loader->HasFinished())
        m_loader->GetCamVersion();
    EXPECT_EQ(m_loader->GetCamVersion(), 0);
}

}  // namespace
