// The end of a frame that fills its buffer, in memory that was used before.
#include "tests/memory/scripted_fixture.h"

namespace {

constexpr std::uint32_t kFrameSize = 4096;
constexpr std::uint32_t kSmallPayload = 1024;
/// A payload is added to the size announced.
constexpr std::size_t kBufferSize = kFrameSize + kSmallPayload;
constexpr std::size_t kSectionHeader = 32;

/// A key frame without a picture parameter set, which is what its last bytes
/// and the NAL header 0x68 would be.
Bytes FrameEndingInAStartCode(std::size_t size)
{
    Bytes bytes = H264(0x67, size);
    std::copy_n(Bytes{0, 0, 0, 1}.begin(), 4, bytes.end() - 4);
    return bytes;
}

class FullFrame : public ScriptedMemoryTest {
protected:
    FullFrame() { product_heap::Fill(0x68); }
    ~FullFrame() override { product_heap::Fill(-1); }
};

TEST_F(FullFrame, EndsBeforeWhatUsedMemoryHoldsBehindIt)
{
    m_device->OfferVideo(kFrameSize, kSmallPayload);
    CreateAndInit(kCalder);
    if (HasFatalFailure())
        return;
    m_camera->RegisterObserver(&m_pictures);
    ASSERT_TRUE(m_camera->StartRecording());
    // Number 0 would say nothing about what kind of frame it is.
    const Bytes whole =
        Container({{kMainH264, FrameEndingInAStartCode(kBufferSize - kSectionHeader), 1}});
    ASSERT_EQ(whole.size(), kBufferSize);
    SendContainer(whole, kSmallPayload);
    SendContainer(Container({{kMainH264, H264(kPredicted, 50), 2}}), kSmallPayload);
    ASSERT_TRUE(m_pictures.WaitFor(1));
    EXPECT_EQ(m_pictures.Frames().at(0).size, 50u) << "cut at what lies behind the frame";
    EXPECT_EQ(m_pictures.Count(), 1u);
    EXPECT_TRUE(m_log.Contains("Failed to parsing H264 key frame !!!"));
    EXPECT_TRUE(m_camera->StopRecording());
}

}  // namespace
