// Negotiation, start and teardown of the video stream.

#include <algorithm>
#include <memory>
#include <new>

#include "devcmd/command_frames.h"
#include "runtime/debug_log.h"
#include "runtime/sleep.h"
#include "video/stream_probe.h"
#include "video/uvc_constants.h"
#include "video/uvc_transport.h"
#include "video/video_transfer.h"

namespace {

constexpr char kDisable[] = "UVC_DisableVideoStream";
constexpr unsigned char kProbeControl = 1;   // UVC 1.5, A.9.8
constexpr unsigned char kCommitControl = 2;
constexpr unsigned kProbeTimeoutMs = 1000;
constexpr unsigned kCommitTimeoutMs = 1500;
constexpr unsigned kBulkTimeoutMs = 5000;

// Upper bounds on what a device may make us allocate.
constexpr std::uint32_t kMaxPayloadSize = 16U << 20;
constexpr std::uint64_t kMaxFrameSize = 64U << 20;

constexpr unsigned long kCancelSettleMs = 200;
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
    m_transfers.FreeIdle();
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
    auto* const queue = new (std::nothrow) CFrameBufQueue(m_frames, kFrameBuffers);
    {
        const CamMutexGuard guard(m_park_lock);
        m_frame_queue = queue;
    }
    return queue != nullptr && m_assembler.Begin(*queue, m_max_frame_size);
}

bool CLibUSB_UvcCtrl::AllocateTransfers()
{
    for (unsigned i = 0; i < kTransfers; ++i) {
        std::unique_ptr<TransferCbParam> param(new (std::nothrow) TransferCbParam(*this, i));
        if (param == nullptr ||
            !param->AllocateBuffer(m_max_payload_size + TransferCbParam::kExtraBytes))
            return false;
        SlottedTransfer* const slot = param.get();
        if (!m_transfers.Allocate(std::move(param), 0))
            return false;
        libusb_fill_bulk_transfer(slot->Transfer(), m_device.Handle(), kVideoEndpoint,
                                  slot->Buffer(), static_cast<int>(m_max_payload_size), callback,
                                  slot, kBulkTimeoutMs);
    }
    return true;
}

int CLibUSB_UvcCtrl::SubmitTransfers()
{
    int result = 0;
    for (unsigned i = 0; i < kTransfers; ++i) {
        result = m_transfers.Submit(*m_transfers.At(i));
        if (result >= 0)
            continue;
        // The number is that of the transfers, whichever failed.
        CAM_LOG_AS("UVC_EnableVideoStream", kLogDebugging,
                   "libusb_submit_transfer error: Video %d\n", static_cast<int>(kTransfers));
        m_transfers.Free(i);
    }
    return result;
}

/// What an earlier stream left in flight.
void CLibUSB_UvcCtrl::FreeLeftTransfers()
{
    for (unsigned i = 0; i < kTransfers; ++i) {
        if (!m_transfers.IsIdle(i))
            m_transfers.Cancel(i);
    }
    PumpCancellations();
    m_transfers.Abandon();
}

int CLibUSB_UvcCtrl::UVC_DisableVideoStream()
{
    m_streaming = false;
    // Before the transfer lock: the event thread may hold it while it sleeps on
    // a full ring, and the closed ring is what wakes it.
    if (RingInUse() != nullptr)
        RingInUse()->Close();
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

    FreeTransfers();
    CAM_LOG(kLogDebugging, "UVC_DisableVideoStream finish.\r\n");
    return result;
}

void CLibUSB_UvcCtrl::CancelTransfers()
{
    CAM_LOG_AS(kDisable, kLogDebugging, "Video lock +\r\n");
    {
        const MutexGuard guard(m_transfer_lock);
        for (unsigned i = 0; i < kTransfers; ++i) {
            if (m_transfers.At(i) == nullptr)
                continue;
            CAM_LOG_AS(kDisable, kLogDebugging,
                       "UVC_DisableVideoStream:: cancel bulk transfer. %d\r\n",
                       static_cast<int>(i));
            m_transfers.Cancel(i);
        }
    }
    CAM_LOG_AS(kDisable, kLogDebugging, "Video lock -\r\n");
}

void CLibUSB_UvcCtrl::PumpCancellations()
{
    // Without an event thread (its stream failed to start) nobody else would.
    if (!m_event_thread_running)
        OwnTransfers().WaitUntilIdle([this] { handle_libusb_event(); });
}

void CLibUSB_UvcCtrl::WaitForCancellations()
{
    // A loaded machine may need longer than the fixed time.
    if (m_event_thread_running)
        OwnTransfers().WaitUntilIdle([] { SleepMilliseconds(kSettlePollMs); });
}

void CLibUSB_UvcCtrl::FreeTransfers()
{
    const MutexGuard guard(m_transfer_lock);
    for (unsigned i = 0; i < kTransfers; ++i) {
        if (!m_transfers.IsIdle(i))
            continue;
        CAM_LOG_AS(kDisable, kLogDebugging,
                   "CLibUSB_UvcCtrl::UVC_DisableVideoStream free bulk transfer \r\n");
        m_transfers.Free(i);
    }
}

/// The transfer lock keeps the ring's producer away.
void CLibUSB_UvcCtrl::DeleteRing()
{
    m_assembler.End();
    CFrameBufQueue* const queue = RingUnderTransferLock();
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
