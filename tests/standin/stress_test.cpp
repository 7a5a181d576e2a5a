// Several threads on one context at full speed.
#include "tests/standin/standin_fixture.h"

namespace {

class Stress : public StandinTest {
protected:
    /// A device that always has a payload.
    void SetUp() override
    {
        StandinTest::SetUp();
        m_camera->SetSource(0x81, [this](unsigned char* data, std::size_t capacity) {
            data[0] = static_cast<unsigned char>(m_sent++);
            return vcam::TransferResult{vcam::TransferStatus::kCompleted, capacity, vcam::kNever};
        });
        for (int i = 0; i < 3; ++i) {
            m_transfers.push_back(std::make_unique<TestTransfer>(m_handle, 512, 5000));
            TestTransfer* const transfer = m_transfers.back().get();
            transfer->then = [this, transfer] { Take(*transfer); };
            ASSERT_EQ(transfer->Submit(), LIBUSB_SUCCESS);
        }
    }

    void Take(TestTransfer& transfer)
    {
        if (transfer.Status() != LIBUSB_TRANSFER_COMPLETED) {
            ++m_ended;
            return;
        }
        EXPECT_EQ(transfer.Data()[0], static_cast<unsigned char>(m_taken)) << "out of order";
        ++m_taken;
        if (transfer.Submit() != LIBUSB_SUCCESS)
            ++m_ended;
    }

    std::vector<std::unique_ptr<TestTransfer>> m_transfers;
    unsigned m_sent = 0;               // under the bus's lock
    std::atomic<unsigned> m_taken{0};  // call-backs never overlap
    std::atomic<int> m_ended{0};
};

TEST_F(Stress, ControlRequestsFromManyThreadsBesideAStream)
{
    {
        EventThread events(m_context);
        std::vector<std::thread> hosts;
        for (int i = 0; i < 3; ++i)
            hosts.emplace_back([this] {
                for (int k = 0; k < 100; ++k) {
                    Bytes reply(3);
                    EXPECT_EQ(GetCur(reply, 30000), 3);
                }
            });
        for (std::thread& host : hosts)
            host.join();
        EXPECT_TRUE(WaitUntil([this] { return m_taken > 100; }));
        // A transfer whose call-back runs at this moment is not in flight.
        EXPECT_TRUE(WaitUntil([this] {
            for (const auto& transfer : m_transfers)
                transfer->Cancel();
            return m_ended == 3;
        }));
    }
    m_transfers.clear();
    CloseAll();
    EXPECT_TRUE(BusIsClean());
}

TEST_F(Stress, UnplugInTheMiddleEndsEverything)
{
    {
        EventThread events(m_context);
        std::thread host([this] {
            int result = 0;
            do {
                Bytes reply(3);
                result = GetCur(reply, 30000);
            } while (result == 3);
            EXPECT_EQ(result, LIBUSB_ERROR_NO_DEVICE);
        });
        EXPECT_TRUE(WaitUntil([this] { return m_taken > 50; }));
        m_camera->Plug(false);
        host.join();
        EXPECT_TRUE(WaitUntil([this] { return m_ended == 3; }));
    }
    m_transfers.clear();
    CloseAll();
    EXPECT_TRUE(BusIsClean());
}

TEST_F(Stress, HandlesComeAndGoBesideAStream)
{
    {
        EventThread events(m_context);
        for (int i = 0; i < 50; ++i) {
            libusb_device_handle* const other = libusb_open_device_with_vid_pid(
                m_context, TORVIK_CAM_VENDOR_ID, TORVIK_CAM_PRODUCT_ID);
            ASSERT_NE(other, nullptr);
            EXPECT_EQ(libusb_claim_interface(other, 3), LIBUSB_SUCCESS);
            libusb_close(other);
        }
        m_camera->Plug(false);
        EXPECT_TRUE(WaitUntil([this] { return m_ended == 3; }));
    }
    m_transfers.clear();
    CloseAll();
    EXPECT_TRUE(BusIsClean());
}

}  // namespace
