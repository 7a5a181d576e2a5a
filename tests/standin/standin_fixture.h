// A scripted camera on the simulated bus, opened through libusb.
#ifndef TESTS_STANDIN_STANDIN_FIXTURE_H
#define TESTS_STANDIN_STANDIN_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libusb.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "tests/support/bus_check.h"
#include "tests/support/scripted_camera.h"
#include "tests/support/wait_until.h"
#include "virtual_camera/standin/bus.h"

using test_support::Bytes;
using test_support::BusIsClean;
using test_support::kPatience;
using test_support::ScriptedCamera;
using test_support::WaitUntil;
using vcam::standin::Bus;

/// An IN transfer that notes its completions.
class TestTransfer {
public:
    TestTransfer(libusb_device_handle* handle, std::size_t length, unsigned timeout_ms = 0,
                 std::uint8_t endpoint = ScriptedCamera::kVideoEndpoint)
        : m_buffer(length), m_transfer(libusb_alloc_transfer(0))
    {
        libusb_fill_bulk_transfer(m_transfer, handle, endpoint, m_buffer.data(),
                                  static_cast<int>(length), &TestTransfer::Completed, this,
                                  timeout_ms);
    }
    ~TestTransfer() { libusb_free_transfer(m_transfer); }
    TestTransfer(const TestTransfer&) = delete;
    TestTransfer& operator=(const TestTransfer&) = delete;

    libusb_transfer* Get() { return m_transfer; }
    int Submit() { return libusb_submit_transfer(m_transfer); }
    int Cancel() { return libusb_cancel_transfer(m_transfer); }
    int Completions() const { return m_completions; }
    std::thread::id Thread() const { return m_thread; }
    libusb_transfer_status Status() const { return m_transfer->status; }
    Bytes Data() const
    {
        return {m_buffer.begin(), m_buffer.begin() + m_transfer->actual_length};
    }

    /// Runs inside the call-back.
    std::function<void()> then;

private:
    static void LIBUSB_CALL Completed(libusb_transfer* transfer)
    {
        auto* const self = static_cast<TestTransfer*>(transfer->user_data);
        self->m_thread = std::this_thread::get_id();
        if (self->then)
            self->then();
        ++self->m_completions;
    }

    std::vector<unsigned char> m_buffer;
    libusb_transfer* m_transfer;
    std::atomic<std::thread::id> m_thread{};
    std::atomic<int> m_completions{0};
};

class StandinTest : public testing::Test {
protected:
    StandinTest() { m_bus.Attach(m_camera); }

    void SetUp() override
    {
        ASSERT_EQ(libusb_init(&m_context), LIBUSB_SUCCESS);
        m_handle = libusb_open_device_with_vid_pid(m_context, TORVIK_CAM_VENDOR_ID,
                                                   TORVIK_CAM_PRODUCT_ID);
        ASSERT_NE(m_handle, nullptr);
        ASSERT_EQ(libusb_claim_interface(m_handle, 1), LIBUSB_SUCCESS);
    }

    /// Gives everything back; the test's own transfers are gone by then.
    void CloseAll()
    {
        if (m_handle)
            libusb_close(m_handle);
        if (m_context)
            libusb_exit(m_context);
        m_handle = nullptr;
        m_context = nullptr;
    }
    void TearDown() override
    {
        CloseAll();
        m_bus.Reset();
    }

    int HandleEvents(int milliseconds)
    {
        timeval limit{milliseconds / 1000, (milliseconds % 1000) * 1000};
        return libusb_handle_events_timeout(m_context, &limit);
    }

    /// Handles events until the transfer has completed.
    bool Pump(const TestTransfer& transfer, int completions = 1)
    {
        return WaitUntil([&] {
            HandleEvents(10);
            return transfer.Completions() >= completions;
        });
    }

    int GetCur(Bytes& reply, unsigned timeout_ms = 1000)
    {
        return libusb_control_transfer(m_handle, 0xA2, 0x81, 0x0100, 0x0082, reply.data(),
                                       static_cast<std::uint16_t>(reply.size()), timeout_ms);
    }

    Bus& m_bus = Bus::Instance();
    std::shared_ptr<ScriptedCamera> m_camera = std::make_shared<ScriptedCamera>();
    libusb_context* m_context = nullptr;
    libusb_device_handle* m_handle = nullptr;
};

/// Handles events of a context on a thread of its own.
class EventThread {
public:
    explicit EventThread(libusb_context* context)
        : m_thread([this, context] {
              while (!m_stop) {
                  timeval slice{0, 33000};
                  libusb_handle_events_timeout(context, &slice);
              }
          })
    {
    }
    ~EventThread()
    {
        m_stop = true;
        m_thread.join();
    }
    std::thread::id Id() const { return m_thread.get_id(); }

private:
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

#endif
