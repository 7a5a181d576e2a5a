// Negotiation, start and teardown of the video stream.

#include <algorithm>
#include <iterator>
#include <new>

#include "devcmd/command_frames.h"
#include "runtime/deadline.h"
#include "runtime/debug_log.h"
#include "runtime/sleep.h"
#include "video/stream_probe.h"
#include "video/transfer_param.h"
#include "video/uvc_constants.h"
#include "video/uvc_transport.h"

namespace {

constexpr unsigned char kProbeControl = 1;   // UVC 1.5, A.9.8
constexpr unsigned char kCommitControl = 2;
constexpr unsigned kProbeTimeoutMs = 1000;
constexpr unsigned kCommitTimeoutMs = 1500;
constexpr unsigned kBulkTimeoutMs = 5000;

// Upper bounds on what a device may make us allocate.
constexpr std::uint32_t kMaxPayloadSize = 16U << 20;
constexpr std::uint64_t kMaxFrameSize = 64U << 20;

constexpr unsigned long kCancelSettleMs = 200;
constexpr int kSettleLimitMs = 1000;
constexpr unsigned long kSettlePollMs = 1;

struct NegotiationStep {
    unsigned char request;
    unsigned char selector;
    unsigned timeout_ms;
    bool fresh_proposal;  ///< send our own proposal, not the device's last answer
    const char* failure;
};

constexpr NegotiationStep kNegotiation[] = {
    {kSetCur, kProbeControl, kProbeTimeoutMs, true, "UVC_query_ctrl Error:Probe UVC_SET_CUR\n"},
    {kGetMax, kProbeControl, kProbeTimeoutMs, false, "UVC_query_ctrl Error:Probe UVC_GET_MAX\n"},
    {kGetMin, kProbeControl, kProbeTimeoutMs, false, "UVC_query_ctrl Error:Probe UVC_GET_MIN\n"},
    {kSetCur, kProbeControl, kProbeTimeoutMs, true, "UVC_query_ctrl Error:Probe UVC_SET_CUR\n"},
    {kGetCur, kProbeControl, kProbeTimeoutMs, false, "UVC_query_ctrl Error:Probe UVC_GET_CUR\n"},
    {kSetCur, kCommitControl, kCommitTimeoutMs, false,
     "UVC_query_ctrl Error:Commit UVC_SET_CUR\n"},
};

}  // namespace

int CLibUSB_UvcCtrl::Negotiate(int formatId, int frameId, int fps, unsigned char* answer)
{
    const StreamProbe proposal = MakeStreamProbe(formatId, frameId, fps);
    for (const NegotiationStep& step : kNegotiation) {
        if (step.fresh_proposal)
            std::copy(proposal.begin(), proposal.end(), answer);
        const int moved =
            UVC_query_ctrl(step.request, 0, kVideoStreamingInterface, step.selector, answer,
                           static_cast<unsigned short>(proposal.size()), step.timeout_ms);
        if (moved != static_cast<int>(proposal.size())) {
            CAM_LOG_AS("UVC_EnableVideoStream", kLogDebugging, "%s", step.failure);
            return -1;
        }
    }
    return 0;
}

int CLibUSB_UvcCtrl::UVC_EnableVideoStream(int formatId, int frameId, int fps)
{
    if (m_streaming)
        UVC_DisableVideoStream();
    m_format_id = formatId;
    m_frame_id = frameId;
    if (!m_device.IsOpen())
        return -1;

    CAM_LOG(kLogDebugging, "UVC_EnableVideoStream start video FormatID:%d FrameID:%d\r\n",
            formatId, frameId);
    StreamProbe answer = {};
    if (Negotiate(formatId, frameId, fps, answer.data()) < 0)
        return -1;
    if (libusb_get_max_packet_size(m_device.Device(), kVideoEndpoint) < 1) {
        CAM_LOG(kLogDebugging, "libusb_get_max_packet_size Fail");
        return -1;
    }

    // One payload of slack: the payload that crosses the end of a frame is
    // appended before anybody knows.
    const std::uint32_t payload_size = MaxPayloadTransferSize(answer);
    const std::uint64_t frame_size =
        static_cast<std::uint64_t>(MaxVideoFrameSize(answer)) + payload_size;
    CAM_LOG(kLogDebugging, "Max Frame Size = %d\n", static_cast<int>(frame_size));
    CAM_LOG(kLogDebugging, "Max Payload Transfer Size = %d\n", static_cast<int>(payload_size));
    if (payload_size == 0 || payload_size > kMaxPayloadSize || frame_size > kMaxFrameSize)
        return -1;

    const MutexGuard guard(m_transfer_lock);
    FreeLeftTransfers();
    m_max_frame_size = static_cast<std::uint32_t>(frame_size);
    m_max_payload_size = payload_size;
    if (!AllocateStream())
        return -1;
    const int result = SubmitTransfers();
    m_streaming = true;
    return result;
}

/// Buffers, ring and transfers of a stream; all of them or nothing.
bool CLibUSB_UvcCtrl::AllocateStream()
{
    if (AllocateFrames() && AllocateTransfers())
        return true;
    for (unsigned i = 0; i < kTransfers; ++i)
        FreeTransfer(i);
    DeleteRing();
    DeleteFrames();
    return false;
}

bool CLibUSB_UvcCtrl::AllocateFrames()
{
    for (CFrameBuf*& frame : m_frames) {
        frame = new (std::nothrow) CFrameBuf(m_max_frame_size);
        if (frame == nullptr || frame->Data() == nullptr)
            return false;
    }
    std::unique_ptr<CFrameBufQueue> queue(new (std::nothrow)
                                              CFrameBufQueue(m_frames, kFrameBuffers));
    if (queue == nullptr)
        return false;
    m_write_locker.reset(new (std::nothrow) CFrameBufferLocker(queue.get()));
    if (m_write_locker == nullptr)
        return false;
    m_filled = 0;
    m_awaiting_buffer = false;
    const CamMutexGuard guard(m_park_lock);
    m_frame_queue = queue.release();
    return true;
}

bool CLibUSB_UvcCtrl::AllocateTransfers()
{
    for (unsigned i = 0; i < kTransfers; ++i) {
        std::unique_ptr<TransferCbParam> param(
            new (std::nothrow)
                TransferCbParam(this, static_cast<std::uint8_t>(i), m_max_payload_size));
        if (param == nullptr || param->payload == nullptr)
            return false;
        m_transfers[i] = libusb_alloc_transfer(0);
        if (m_transfers[i] == nullptr)
            return false;
        libusb_fill_bulk_transfer(m_transfers[i], m_device.Handle(), kVideoEndpoint,
                                  param->payload, static_cast<int>(m_max_payload_size), callback,
                                  param.get(), kBulkTimeoutMs);
        static_cast<void>(param.release());  // the transfer's
    }
    return true;
}

int CLibUSB_UvcCtrl::SubmitTransfers()
{
    int result = 0;
    for (unsigned i = 0; i < kTransfers; ++i) {
        result = Submit(m_transfers[i], i);
        if (result >= 0)
            continue;
        // The number is that of the transfers, whichever failed.
        CAM_LOG_AS("UVC_EnableVideoStream", kLogDebugging,
                   "libusb_submit_transfer error: Video %d\n", static_cast<int>(kTransfers));
        FreeTransfer(i);
    }
    return result;
}

/// Frees a transfer that is not in flight, with its payload; nothing in an
/// empty slot.
void CLibUSB_UvcCtrl::FreeTransfer(unsigned index)
{
    if (m_transfers[index] == nullptr)
        return;
    delete static_cast<TransferCbParam*>(m_transfers[index]->user_data);
    m_transfers[index]->user_data = nullptr;
    libusb_free_transfer(m_transfers[index]);
    m_transfers[index] = nullptr;
}

int CLibUSB_UvcCtrl::Submit(libusb_transfer* transfer, unsigned index)
{
    // Set first: the completion may run on another thread before submit returns.
    m_in_flight[index].store(true, std::memory_order_release);
    const int result = m_device.Heed(libusb_submit_transfer(transfer));
    if (result < 0)
        m_in_flight[index].store(false, std::memory_order_release);
    return result;
}

void CLibUSB_UvcCtrl::FreeLeftTransfers()
{
    for (unsigned i = 0; i < kTransfers; ++i) {
        if (m_transfers[i] != nullptr && m_in_flight[i])
            m_device.Heed(libusb_cancel_transfer(m_transfers[i]));
    }
    PumpCancellations();
    for (unsigned i = 0; i < kTransfers; ++i) {
        if (m_transfers[i] == nullptr)
            continue;
        if (m_in_flight[i]) {
            // Given up; a late completion frees it.
            static_cast<TransferCbParam*>(m_transfers[i]->user_data)->owner = nullptr;
            m_transfers[i] = nullptr;
            m_in_flight[i] = false;
        } else {
            FreeTransfer(i);
        }
    }
}

int CLibUSB_UvcCtrl::UVC_DisableVideoStream()
{
    m_streaming = false;
    // Before the transfer lock: the event thread may hold it while it sleeps on
    // a full ring, and the closed ring is what wakes it.
    if (m_frame_queue != nullptr)
        m_frame_queue->Close();
    {
        const MutexGuard guard(m_transfer_lock);
        DeleteRing();
        DeleteFrames();
    }

    CancelTransfers();
    PumpCancellations();
    SleepMilliseconds(kCancelSettleMs);
    WaitForCancellations();

    int result = -1;
    if (m_device.IsOpen())
        result = SelectIdleSetting();
    if (result < 0)
        CAM_LOG(kLogDebugging, "UAC_DisableVideoStream: IF = 1, Alt = 0 Error!!");

    {
        const MutexGuard guard(m_transfer_lock);
        for (unsigned i = 0; i < kTransfers; ++i) {
            if (m_transfers[i] == nullptr || m_in_flight[i])
                continue;
            CAM_LOG(kLogDebugging,
                    "CLibUSB_UvcCtrl::UVC_DisableVideoStream free bulk transfer \r\n");
            FreeTransfer(i);
        }
    }
    CAM_LOG(kLogDebugging, "UVC_DisableVideoStream finish.\r\n");
    return result;
}

void CLibUSB_UvcCtrl::CancelTransfers()
{
    CAM_LOG_AS("UVC_DisableVideoStream", kLogDebugging, "Video lock +\r\n");
    {
        const MutexGuard guard(m_transfer_lock);
        for (unsigned i = 0; i < kTransfers; ++i) {
            if (m_transfers[i] == nullptr)
                continue;
            CAM_LOG_AS("UVC_DisableVideoStream", kLogDebugging,
                       "UVC_DisableVideoStream:: cancel bulk transfer. %d\r\n",
                       static_cast<int>(i));
            m_device.Heed(libusb_cancel_transfer(m_transfers[i]));
        }
    }
    CAM_LOG_AS("UVC_DisableVideoStream", kLogDebugging, "Video lock -\r\n");
}

void CLibUSB_UvcCtrl::PumpCancellations()
{
    // Without an event thread (its stream failed to start) nobody else would.
    if (m_event_thread_running)
        return;
    const Deadline deadline(kSettleLimitMs);
    while (AnyInFlight() && !deadline.Passed())
        handle_libusb_event();
}

/// A loaded machine may need longer than the fixed time; a device that went
/// silent never ends.
void CLibUSB_UvcCtrl::WaitForCancellations()
{
    if (!m_event_thread_running)
        return;
    const Deadline deadline(kSettleLimitMs);
    while (AnyInFlight() && !deadline.Passed())
        SleepMilliseconds(kSettlePollMs);
}

bool CLibUSB_UvcCtrl::AnyInFlight() const
{
    return std::any_of(std::begin(m_in_flight), std::end(m_in_flight),
                       [](const std::atomic<bool>& in_flight) { return in_flight.load(); });
}

/// Under the transfer lock, which the ring's producer holds.
void CLibUSB_UvcCtrl::DeleteRing()
{
    m_write_locker.reset();
    CFrameBufQueue* const queue = m_frame_queue;
    {
        const CamMutexGuard guard(m_park_lock);
        m_frame_queue = nullptr;
        m_parked.Clear();  // they have completed; nobody wants their data now
    }
    if (queue == nullptr)
        return;
    queue->Close();
    queue->DrainWaiters();
    delete queue;
}

void CLibUSB_UvcCtrl::DeleteFrames()
{
    for (CFrameBuf*& frame : m_frames) {
        delete frame;
        frame = nullptr;
    }
}
