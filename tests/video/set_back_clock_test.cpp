// The consumer's wait for a frame, when the wall clock is set back meanwhile.
#include "tests/support/set_back_clock.h"

#include <future>

#include "tests/video/video_fixture.h"

namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;
using test_support::SetBackClock;

class VideoWaitWithTheClockSetBack : public VideoTest {
protected:
    void SetUp() override
    {
        m_transport = std::make_unique<Transport>();
        ASSERT_EQ(m_transport->Init(CAM_VENDOR_ID, CAM_PRODUCT_ID), 0);
        ASSERT_EQ(m_transport->EnableStream(3, 4, 30), 0);
    }
    void TearDown() override
    {
        m_transport->DisableStream();
        CloseCleanly(m_transport);
        VideoTest::TearDown();
    }
    void SendFrame()
    {
        m_camera->QueuePayload(0, Bytes(10));
        m_camera->QueuePayload(kEof);
    }

    /// Reads on a thread of its own while nothing arrives.
    template <typename Read>
    void ExpectHalfASecond(Read read)
    {
        const SetBackClock clock(30s);
        std::thread::id reader;
        auto waited = std::async(std::launch::async, [&] {
            reader = std::this_thread::get_id();
            const auto begin = steady_clock::now();
            read();
            return steady_clock::now() - begin;
        });
        if (waited.wait_for(3s) != std::future_status::ready)
            SendFrame();  // long too late; lets the reader go
        const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(waited.get());
        EXPECT_GE(time.count(), 499);
        EXPECT_LE(time.count(), 1500) << "half a second, and a second for a busy machine";
        const auto waits = clock.WaitsOf(reader);
        ASSERT_FALSE(waits.empty());
        EXPECT_EQ(waits.front(), 500ms);
    }

    std::unique_ptr<Transport> m_transport;
};

TEST_F(VideoWaitWithTheClockSetBack, DequeLastsHalfASecond)
{
    ExpectHalfASecond([this] {
        unsigned char byte = 0;
        unsigned char* data = &byte;
        unsigned int size = 9;
        EXPECT_EQ(m_transport->DequeFrameBuf(&data, &size), 0);
        EXPECT_EQ(data, nullptr);
        EXPECT_EQ(size, 0u);
    });
}

TEST_F(VideoWaitWithTheClockSetBack, ReadLastsHalfASecond)
{
    ExpectHalfASecond([this] {
        unsigned char data[16];
        EXPECT_EQ(m_transport->ReadFrame(data, sizeof data), 0u);
    });
}

TEST_F(VideoWaitWithTheClockSetBack, EachWaitInARowLastsHalfASecond)
{
    for (int i = 0; i < 3 && !HasFailure(); ++i) {
        ExpectHalfASecond([this] {
            unsigned char* data = nullptr;
            unsigned int size = 0;
            EXPECT_EQ(m_transport->DequeFrameBuf(&data, &size), 0);
        });
    }
}

}  // namespace
