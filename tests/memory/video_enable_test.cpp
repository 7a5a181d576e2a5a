// The video stream without memory enough.
#include "tests/memory/parts_fixture.h"
#include "tests/video/video_fixture.h"

namespace {

class VideoEnableWithoutMemory : public PumpedTest {
protected:
    void SetUp() override
    {
        product_heap::WatchScopes();
        PumpedTest::SetUp();
    }
    void Reopen()
    {
        m_transport = std::make_unique<PumpedTransport>();
        ASSERT_EQ(m_transport->Init(CAM_VENDOR_ID, CAM_PRODUCT_ID), 0);
    }
    void ExpectNothingLeft(long live)
    {
        EXPECT_FALSE(m_transport->IsStreaming());
        EXPECT_EQ(m_bus.Counters().transfers, 0);
        EXPECT_EQ(product_heap::Live(), live);
    }
    void ExpectStream()
    {
        ASSERT_EQ(Watched([this] { return m_transport->UVC_EnableVideoStream(3, 4, 30); }), 0);
        EXPECT_EQ(m_bus.Counters().transfers, 3);
        const Bytes picture = Pattern(100, 1);
        Send(0, picture);
        Send(kFid | kEof);
        EXPECT_EQ(NextFrame(), picture);
        EXPECT_EQ(m_transport->UVC_DisableVideoStream(), 0);
    }
};

TEST_F(VideoEnableWithoutMemory, FailsFreesWhatItMadeAndCanBeRepeated)
{
    // Five frames with their buffers, the ring and who writes to it, three
    // transfers with their buffers.
    ForEachAllocation(8, [this](std::size_t nth) {
        SCOPED_TRACE("allocation " + std::to_string(nth));
        Reopen();
        const long live = product_heap::Live();
        const auto result =
            WithoutAllocation(nth, [this] { return m_transport->UVC_EnableVideoStream(3, 4, 30); });
        if (!product_heap::LastFailure().happened) {
            EXPECT_EQ(result, 0);
            m_transport->UVC_DisableVideoStream();
            return;
        }
        if (!result.has_value())
            return;
        EXPECT_EQ(*result, -1);
        ExpectNothingLeft(live);
        ExpectStream();
        EXPECT_EQ(product_heap::Live(), live);
    });
}

class VideoEnableWithoutTransfer : public VideoEnableWithoutMemory,
                                   public testing::WithParamInterface<std::size_t> {};

TEST_P(VideoEnableWithoutTransfer, FailsFreesWhatItMadeAndCanBeRepeated)
{
    const long live = product_heap::Live();
    m_bus.FailCall("libusb_alloc_transfer", GetParam(), LIBUSB_ERROR_NO_MEM);
    EXPECT_EQ(Watched([this] { return m_transport->UVC_EnableVideoStream(3, 4, 30); }), -1);
    ExpectNothingLeft(live);
    m_bus.ClearRules();
    ExpectStream();
    EXPECT_EQ(product_heap::Live(), live);
}

INSTANTIATE_TEST_SUITE_P(EachTransfer, VideoEnableWithoutTransfer, testing::Values(1u, 2u, 3u));

/// Memory as it is after a day of use.
class DirtyHeap : public VideoEnableWithoutMemory {
protected:
    DirtyHeap() { product_heap::Fill(0xFF); }
    ~DirtyHeap() override { product_heap::Fill(-1); }
};

TEST_F(DirtyHeap, BytesBehindAFullFrameAreZero)
{
    // A scan for start codes looks this far past a frame's end.
    constexpr std::size_t kSlack = 4;
    ASSERT_EQ(Watched([this] { return m_transport->UVC_EnableVideoStream(3, 4, 30); }), 0);
    const Bytes piece = Pattern(kPayloadSize - 12, 3);
    for (unsigned frame = 0; frame < 5; ++frame) {
        const std::uint8_t flags = frame % 2 ? kFid : 0;
        std::size_t sent = 0;
        while (sent < kBufferSize) {
            const std::size_t size = std::min<std::size_t>(piece.size(), kBufferSize - sent);
            Send(flags, Bytes(piece.begin(), piece.begin() + static_cast<long>(size)));
            sent += size;
        }
        Send(flags | kEof);
        unsigned char* data = nullptr;
        unsigned int size = 0;
        ASSERT_EQ(m_transport->DequeFrameBuf(&data, &size), static_cast<int>(kBufferSize));
        EXPECT_EQ(Bytes(data + size, data + size + kSlack), Bytes(kSlack, 0)) << frame;
        m_transport->QueueFrameBuf();
    }
}

}  // namespace
