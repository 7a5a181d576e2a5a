// Properties, asked for and set while there is no memory at all.
#include "tests/memory/memory_fixture.h"

namespace {

constexpr unsigned kIds = 75;

bool Restarts(unsigned id)
{
    return id == CAM_PROPERTY_RESOLUTION || id == CAM_PROPERTY_SIGNAL_TYPE ||
           id == CAM_PROPERTY_VIDEOMODE;
}

/// A value that leaves the recording as it is.
std::int32_t HarmlessValue(unsigned id)
{
    switch (id) {
    case CAM_PROPERTY_BITRATE:
        return 2000000;
    case CAM_PROPERTY_FRAMERATE:
        return 30;
    case CAM_PROPERTY_DEBUG_LEVEL:
        return 4;
    default:
        return 1;
    }
}

class PropertiesWithoutMemory : public MemoryTest {
protected:
    /// What the operation answers; an exception fails the test in its story.
    template <typename Operation>
    static bool WithoutMemory(Operation operation)
    {
        product_heap::FailAll();
        const bool result = operation();
        product_heap::FailNone();
        return result;
    }
};

TEST_F(PropertiesWithoutMemory, AnswerAsEver)
{
    PlayOnce(kCalder, [this](Story& story) {
        CreateAndConnectIn(story);
        StartIn(story, true, "StartRecording");
        for (unsigned id = 0; id < kIds; ++id) {
            const auto property = static_cast<CAM_PROPERTY>(id);
            const std::int32_t value = HarmlessValue(id);
            if (!Restarts(id)) {
                story.Doing("SetProperty " + std::to_string(id));
                const bool usual = Set(property, value);
                story.Require(WithoutMemory([&] { return Set(property, value); }) == usual,
                              "another result");
            }
            story.Doing("GetProperty " + std::to_string(id));
            std::int32_t usual_value = 0;
            std::int32_t read = 0;
            const bool usual = Get(property, &usual_value);
            story.Require(WithoutMemory([&] { return Get(property, &read); }) == usual,
                          "another result");
            story.Require(read == usual_value, "another value");
        }
        RequireFlow(story, true);
        StopIn(story, "StopRecording");
        DestroyIn(story);
    });
}

TEST_F(PropertiesWithoutMemory, ThatRestartSucceedAndLeaveACameraThatCanBeStarted)
{
    static constexpr struct {
        const char* name;
        CAM_PROPERTY property;
        std::int32_t value;
    } kRestarting[] = {
        {"SetProperty(CAM_PROPERTY_RESOLUTION)", CAM_PROPERTY_RESOLUTION, 720 << 16 | 1280},
        {"SetProperty(CAM_PROPERTY_SIGNAL_TYPE)", CAM_PROPERTY_SIGNAL_TYPE, CAM_SIGNAL_H264_NV21},
        {"SetProperty(CAM_PROPERTY_VIDEOMODE)", CAM_PROPERTY_VIDEOMODE, 1},
    };
    PlayOnce(kCalder, [this](Story& story) {
        CreateAndConnectIn(story);
        for (const auto& row : kRestarting) {
            StartIn(story, false, std::string("StartRecording before ") + row.name);
            story.Doing(row.name);
            story.Require(WithoutMemory([&] { return Set(row.property, row.value); }), "false");
            story.Require(story.Failure().happened, "it did not start anything");
            story.Require(m_camera->GetState() == CAM_STATE_CONNECTED,
                          "the state is not that of a failed start");
        }
        RecordIn(story, false);
        DestroyIn(story);
    });
}

}  // namespace
