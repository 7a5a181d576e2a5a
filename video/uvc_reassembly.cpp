// From bulk payloads to frames.

#include <algorithm>
#include <cstring>

#include "runtime/debug_log.h"
#include "runtime/sleep.h"
#include "video/transfer_param.h"
#include "video/uvc_transport.h"

// Absent from libusb before 1.0.21; then parked payloads may wait for the end of
// an event slice.
extern "C" __attribute__((weak)) void LIBUSB_CALL
libusb_interrupt_event_handler(libusb_context* context);

namespace {

/// Payload header (UVC 1.0, 2.4.3.2.2), as this camera sends it.
constexpr unsigned kHeaderLength = 12;
constexpr unsigned kHeaderLengthOffset = 0;
constexpr unsigned kHeaderInfoOffset = 1;
constexpr unsigned char kFrameId = 0x01;
constexpr unsigned char kEndOfFrame = 0x02;
constexpr unsigned char kError = 0x40;

constexpr int kEventSliceMs = 33;
constexpr unsigned long kIdleSleepMicroseconds = 500;

unsigned ReceivedLength(const libusb_transfer* transfer)
{
    return static_cast<unsigned>(std::clamp(transfer->actual_length, 0, transfer->length));
}

}  // namespace

bool CLibUSB_UvcCtrl::OnEventThread() const
{
    // A thread sees its own stores, and those of others never equal it.
    return pthread_equal(m_event_pass_thread.load(std::memory_order_relaxed), pthread_self()) != 0;
}

void CLibUSB_UvcCtrl::handle_libusb_event()
{
    {
        const MutexGuard guard(m_transfer_lock);
        m_event_pass_thread.store(pthread_self(), std::memory_order_relaxed);
        m_pass_brought_payloads = false;
        if (!m_context.IsReady()) {
            SleepMilliseconds(kEventSliceMs);
        } else if (TakeParkedTransfers()) {
            timeval slice = {0, kEventSliceMs * 1000};
            libusb_handle_events_timeout(m_context.Get(), &slice);
        } else {
            // The ring is full and a control request is under way, whose caller
            // handles the events meanwhile. Waiting here rather than in libusb,
            // this thread goes on as soon as there is room.
            m_frame_queue->WaitForRoom(kEventSliceMs);
        }
        m_event_pass_thread.store(pthread_t(), std::memory_order_relaxed);
        WakeOverdueConsumer();
    }
    // Leaves teardown a chance at the lock.
    if (!m_streaming)
        SleepMicroseconds(kIdleSleepMicroseconds);
}

void LIBUSB_CALL CLibUSB_UvcCtrl::callback(libusb_transfer* transfer)
{
    auto* const param = static_cast<TransferCbParam*>(transfer->user_data);
    if (param == nullptr)
        return;
    CLibUSB_UvcCtrl* const owner = param->owner;
    if (owner != nullptr) {
        if (transfer->status == LIBUSB_TRANSFER_NO_DEVICE)
            owner->m_device.HeedLoss();
        owner->OnCompletion(transfer, param->index);
    } else {
        // Given up by its stream; this was its last completion.
        delete param;
        libusb_free_transfer(transfer);
    }
}

void CLibUSB_UvcCtrl::OnCompletion(libusb_transfer* transfer, unsigned index)
{
    if (!OnEventThread()) {
        // A thread waiting for its control request: see the class comment.
        {
            const CamMutexGuard guard(m_park_lock);
            if (m_frame_queue != nullptr)
                m_parked.PushBack(transfer);
            m_in_flight[index] = false;
        }
        WakeForParked();
        return;
    }

    m_pass_brought_payloads = true;
    m_in_flight[index].store(false, std::memory_order_release);
    if (m_frame_queue == nullptr)
        return;
    if (!TakeParkedTransfers()) {
        const CamMutexGuard guard(m_park_lock);
        m_parked.PushBack(transfer);
    } else if (!HandleCompletion(transfer)) {
        const CamMutexGuard guard(m_park_lock);
        m_parked.PushFront(transfer);
    }
}

/// Ends an event slice early when payloads are parked: the event thread may
/// have looked for them just before.
void CLibUSB_UvcCtrl::WakeForParked()
{
    if (!m_parked.IsEmpty() && libusb_interrupt_event_handler != nullptr)
        libusb_interrupt_event_handler(m_context.Get());
}

/// Event thread, after each pass. While payloads arrive their frames wake the
/// consumer, so that a look now and then will do.
void CLibUSB_UvcCtrl::WakeOverdueConsumer()
{
    constexpr unsigned kBusyPassesPerLook = 8;
    if (m_pass_brought_payloads && ++m_busy_passes % kBusyPassesPerLook != 0)
        return;
    if (m_frame_queue != nullptr)
        m_frame_queue->WakeOverdueConsumer();
}

/// Event thread: takes up what was parked. False when the first of them has to
/// wait for room in the ring.
bool CLibUSB_UvcCtrl::TakeParkedTransfers()
{
    // The way of nearly every payload, without a lock.
    while (!m_parked.IsEmpty()) {
        libusb_transfer* transfer;
        {
            const CamMutexGuard guard(m_park_lock);
            transfer = m_parked.PopFront();
        }
        if (!HandleCompletion(transfer)) {
            const CamMutexGuard guard(m_park_lock);
            m_parked.PushFront(transfer);
            return false;
        }
    }
    return true;
}

/// Event thread: false when the transfer's payload has to wait for room in the
/// ring. A transfer that ends in any way but success or time-out leaves
/// circulation for the rest of the stream.
bool CLibUSB_UvcCtrl::HandleCompletion(libusb_transfer* transfer)
{
    static constexpr char kFunction[] = "callback";
    switch (transfer->status) {
    case LIBUSB_TRANSFER_COMPLETED:
        return FillVideoBuf_Bulk(transfer);
    case LIBUSB_TRANSFER_TIMED_OUT:
        if (!m_awaiting_buffer) {
            CAM_LOG_AS(kFunction, kLogDebugging, "LIBUSB_TRANSFER_TIMED_OUT! EP = %x\n",
                       transfer->endpoint);
        }
        return FillVideoBuf_Bulk(transfer);
    case LIBUSB_TRANSFER_CANCELLED:
        CAM_LOG_AS(kFunction, kLogDebugging, "LIBUSB_TRANSFER_CANCELLED!\n");
        return true;
    case LIBUSB_TRANSFER_NO_DEVICE:
        CAM_LOG_AS(kFunction, kLogDebugging, "LIBUSB_TRANSFER_NO_DEVICE \r\n");
        return true;
    case LIBUSB_TRANSFER_OVERFLOW:
        CAM_LOG_AS(kFunction, kLogDebugging, "LIBUSB_TRANSFER_OVERFLOW! EP = %x\n",
                   transfer->endpoint);
        return true;
    default:
        // Log readers look for the audio wording in both transports.
        CAM_LOG_AS(kFunction, kLogDebugging, "Audio Transfer Unknown Status=%d\r\n",
                   static_cast<int>(transfer->status));
        return true;
    }
}

void CLibUSB_UvcCtrl::Resubmit(libusb_transfer* transfer)
{
    if (m_streaming)
        Submit(transfer, static_cast<TransferCbParam*>(transfer->user_data)->index);
}

bool CLibUSB_UvcCtrl::FillVideoBuf_Bulk(libusb_transfer* transfer)
{
    if (!m_awaiting_buffer) {
        if (transfer->status == LIBUSB_TRANSFER_TIMED_OUT && m_streaming) {
            Resubmit(transfer);
            return true;
        }
        if (m_write_locker == nullptr || m_write_locker->Frame() == nullptr) {
            CAM_LOG(kLogFatal, "Frame Buffer for writing is NULL !!!\r\n");
            return true;
        }
    }

    const unsigned length = ReceivedLength(transfer);
    if (length > kHeaderInfoOffset) {
        const unsigned char* const header = transfer->buffer;
        if (!m_awaiting_buffer) {
            if (transfer->status != LIBUSB_TRANSFER_COMPLETED)
                CAM_LOG(kLogDebugging, "status %d\n", static_cast<int>(transfer->status));
            const unsigned char flags = header[kHeaderInfoOffset];
            // Either sign will do: the last payload of a frame can get lost, and
            // the flag with it.
            if ((flags & kEndOfFrame) != 0 || ((flags ^ m_last_flags) & kFrameId) != 0)
                CloseFrame(transfer, length);
        }
        if (m_write_locker->Frame() == nullptr &&
            !m_write_locker->AcquireFrame(&m_control_requests)) {
            m_awaiting_buffer = !m_frame_queue->IsClosed();
            if (m_awaiting_buffer)
                return false;
        }
        m_awaiting_buffer = false;

        if ((header[kHeaderInfoOffset] & kError) != 0) {
            CAM_LOG(kLogDebugging, "Dropping payload (error bit set).\n");
            Resubmit(transfer);
            return true;
        }
        if (length > kHeaderLength && m_write_locker->Frame() == nullptr) {
            CAM_LOG(kLogFatal, "Frame Buffer for writing is NULL !!!\r\n");
            return true;  // the ring was closed while it was full
        }
        if (length > kHeaderLength &&
            !AppendPayload(header + kHeaderLength, length - kHeaderLength)) {
            Resubmit(transfer);
            return true;
        }
    } else if (length > 0 && transfer->status != LIBUSB_TRANSFER_COMPLETED) {
        CAM_LOG(kLogDebugging, "status %d\n", static_cast<int>(transfer->status));
    }

    if (!m_streaming) {
        CAM_LOG(kLogDebugging, "Stop submit transfer.\r\n");
        return true;
    }
    Resubmit(transfer);
    return true;
}

/// A boundary closes the frame gathered so far, before the payload's own data,
/// which begins the next frame.
void CLibUSB_UvcCtrl::CloseFrame(libusb_transfer* transfer, unsigned length)
{
    unsigned char* const header = transfer->buffer;
    m_last_flags = header[kHeaderInfoOffset];
    const unsigned header_length = header[kHeaderLengthOffset];
    if (header_length != kHeaderLength) {
        CAM_LOG_AS("FillVideoBuf_Bulk", kLogDebugging, "UVC Payload Header Length = %d\n",
                   static_cast<int>(header_length));
        header[kHeaderInfoOffset] |= kError;
        if (header_length > kHeaderLength && length > kHeaderLength) {
            // The bytes land behind the frame and are not counted.
            const std::size_t room = m_max_frame_size - static_cast<unsigned>(m_filled);
            std::memcpy(m_write_locker->Frame()->Data() + m_filled, header + kHeaderLength,
                        std::min<std::size_t>(length - kHeaderLength, room));
        }
    }
    if (m_filled > 0)
        m_write_locker->CommitFrame(static_cast<std::uint32_t>(m_filled));
    m_filled = 0;
}

/// False when the data does not fit; the frame in progress keeps what it has.
bool CLibUSB_UvcCtrl::AppendPayload(const unsigned char* data, unsigned length)
{
    const std::uint64_t new_length = static_cast<std::uint64_t>(m_filled) + length;
    if (new_length > m_max_frame_size) {
        CAM_LOG_AS("FillVideoBuf_Bulk", kLogDebugging, "Fram size exceed MaxFrameSize!! %d\n",
                   static_cast<int>(new_length));
        return false;
    }
    unsigned char* const end = m_write_locker->Frame()->Data() + m_filled;
    std::memcpy(end, data, length);
    // A scan for start codes may look past the frame's end.
    std::memset(end + length, 0, CFrameBuf::kSlack);
    m_filled = static_cast<int>(new_length);
    return true;
}

int CLibUSB_UvcCtrl::DequeFrameBuf(unsigned char** data, unsigned int* size)
{
    *data = nullptr;
    *size = 0;
    if (m_frame_queue == nullptr)
        return 0;
    const int lent = m_frame_queue->Lend(data, size);
    if (lent == 0)
        WakeForParked();
    return lent;
}

int CLibUSB_UvcCtrl::QueueFrameBuf()
{
    if (m_frame_queue == nullptr)
        return 0;
    m_frame_queue->Release();
    WakeForParked();
    return 0;
}

unsigned int CLibUSB_UvcCtrl::ReadFrame(unsigned char* dst, unsigned int maxLength)
{
    if (m_frame_queue == nullptr)
        return 0;
    const unsigned copied = m_frame_queue->CopyOut(dst, maxLength);
    WakeForParked();
    return copied;
}
