// Every combination of streams, and many starts and stops.
#include "tests/kernel/kernel_fixture.h"
#include "tests/kernel/process_state.h"
#include "tests/kernel/received_frames.h"

namespace kernel_test
{
namespace
{

struct Watched {
    CAM_STREAM type;
    Stream stream;
    const char* name;
};
constexpr Watched kMain{CAM_STREAM_H264_MAIN, Stream::kMain, "main"};
constexpr Watched kSub{CAM_STREAM_H264_SUB, Stream::kSub, "sub"};
constexpr Watched kGray{CAM_STREAM_GRAY, Stream::kGray, "gray"};
constexpr Watched kNv12{CAM_STREAM_NV12, Stream::kNv12, "nv12"};
constexpr Watched kNv21{CAM_STREAM_NV21, Stream::kNv21, "nv21"};
constexpr Watched kYuyv{CAM_STREAM_YUYV, Stream::kYuy2, "yuyv"};

struct Signal {
    const char* name;
    CAM_SIGNAL_TYPE type;
    std::vector<Watched> streams;
};

void PrintTo(const Signal& signal, std::ostream* out)
{
    *out << signal.name;
}

class SignalType : public KernelTest, public testing::WithParamInterface<Signal>
{
};

TEST_P(SignalType, FlowsForTwoSecondsAsSent)
{
    const Signal& signal = GetParam();
    CreateAndInit(kBySignalType);
    Set(CAM_PROPERTY_SIGNAL_TYPE, static_cast<std::int32_t>(signal.type));
    std::vector<FrameCollector*> collectors;
    for (const Watched& watched : signal.streams)
        collectors.push_back(&Observe(watched.type, test_support::Keep::kData));
    m_camera.ClearTraffic();
    ASSERT_TRUE(m_subject->StartRecording());
    // Two seconds of pictures: 15 or 30 of them each second.
    const std::size_t enough = signal.streams[0].stream == Stream::kMain ? 60 : 30;
    EXPECT_TRUE(collectors[0]->WaitFor(enough));
    EXPECT_TRUE(m_subject->StopRecording());
    for (std::size_t i = 0; i < collectors.size(); ++i) {
        const Watched& watched = signal.streams[i];
        SCOPED_TRACE(watched.name);
        const auto received = Whole(*collectors[i], watched.type);
        const Comparison comparison = Compare(received, m_camera.Frames(watched.stream));
        EXPECT_TRUE(comparison.equal);
        EXPECT_EQ(comparison.lost, 0u);
        EXPECT_GE(received.size(), 10u);
        Shows("%-4s %3zu frames as sent, digest %016llx", watched.name, received.size(),
              static_cast<unsigned long long>(comparison.digest_received));
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, SignalType,
    testing::Values(Signal{"H264Yuyv", CAM_SIGNAL_H264_YUYV, {kMain, kYuyv}},
                    Signal{"H264Gray", CAM_SIGNAL_H264_GRAY, {kMain, kGray}},
                    Signal{"Gray", CAM_SIGNAL_GRAY, {kGray}},
                    Signal{"H264H264Gray", CAM_SIGNAL_H264_H264_GRAY, {kMain, kSub, kGray}},
                    Signal{"H264Nv21", CAM_SIGNAL_H264_NV21, {kMain, kNv21}},
                    Signal{"H264GrayJpeg", CAM_SIGNAL_H264_GRAY_JPEG, {kMain, kGray}},
                    Signal{"H264GrayStill", CAM_SIGNAL_H264_GRAY_SI, {kMain, kGray, kNv12}},
                    Signal{"H264H264", CAM_SIGNAL_H264_H264, {kMain, kSub}},
                    Signal{"H264Mjpeg", CAM_SIGNAL_H264_MJPEG, {kMain}}),
    [](const auto& row) { return std::string(row.param.name); });

using Cycles = KernelTest;

TEST_F(Cycles, TenStartsAndStopsLeaveFilesThreadsAndMemoryAsBefore)
{
    const ProcessState before;
    CreateAndInit(kDualH264);
    const ProcessState connected;
    FrameCollector& main = Observe(CAM_STREAM_H264_MAIN);
    std::size_t memory = 0;
    for (int cycle = 0; cycle < 10; ++cycle) {
        SCOPED_TRACE(cycle);
        main.Clear();
        ASSERT_TRUE(m_subject->StartRecording());
        EXPECT_TRUE(main.WaitFor(5));
        ASSERT_TRUE(m_subject->StopRecording());
        connected.ExpectUnchanged();
        if (cycle == 2)  // by now the allocator has what it needs
            memory = ProcessState::MemoryKb();
    }
    const std::size_t after = ProcessState::MemoryKb();
    EXPECT_LE(after, memory + 512) << "KiB";
    Shows("%zu KiB after the third cycle, %zu KiB after the tenth", memory, after);
    Destroy();
    before.ExpectUnchanged();
}

}  // namespace
}  // namespace kernel_test
