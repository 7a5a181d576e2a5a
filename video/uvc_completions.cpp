// What completed transfers bring, and the event pass in which they complete.

#include <algorithm>

#include "runtime/debug_log.h"
#include "runtime/sleep.h"
#include "usb/completion_log.h"
#include "video/uvc_transport.h"
#include "video/video_transfer.h"

// Absent from libusb before 1.0.21; then parked payloads may wait for the end of
// an event slice.
extern "C" __attribute__((weak)) void LIBUSB_CALL
libusb_interrupt_event_handler(libusb_context* context);

namespace {

constexpr int kEventSliceMs = 33;
constexpr unsigned long kIdleSleepMicroseconds = 500;
/// While payloads arrive their frames wake the consumer, so that a look at its
/// clock now and then will do.
constexpr unsigned kBusyPassesPerLook = 8;

unsigned ReceivedLength(const libusb_transfer& transfer)
{
    return static_cast<unsigned>(std::clamp(transfer.actual_length, 0, transfer.length));
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
            RingUnderTransferLock()->WaitForRoom(kEventSliceMs);
        }
        m_event_pass_thread.store(pthread_t(), std::memory_order_relaxed);
        WakeOverdueConsumer();
    }
    // Leaves teardown a chance at the lock.
    if (!m_streaming)
        SleepMicroseconds(kIdleSleepMicroseconds);
}

void CLibUSB_UvcCtrl::WakeOverdueConsumer()
{
    if (m_pass_brought_payloads && ++m_busy_passes % kBusyPassesPerLook != 0)
        return;
    if (RingUnderTransferLock() != nullptr)
        RingUnderTransferLock()->WakeOverdueConsumer();
}

void LIBUSB_CALL CLibUSB_UvcCtrl::callback(libusb_transfer* transfer)
{
    auto* const param = static_cast<TransferCbParam*>(TransferSlots::Completed(transfer));
    if (param != nullptr)
        param->owner.OnCompletion(*param);
}

void CLibUSB_UvcCtrl::OnCompletion(TransferCbParam& param)
{
    if (param.Transfer()->status == LIBUSB_TRANSFER_NO_DEVICE)
        m_device.HeedLoss();
    if (!OnEventThread()) {
        Park(param);
        return;
    }
    InEventPass();
    m_pass_brought_payloads = true;
    if (!TransferSlots::SetIdle(param) || RingUnderTransferLock() == nullptr)
        return;
    if (!TakeParkedTransfers()) {
        const CamMutexGuard guard(m_park_lock);
        m_parked.PushBack(param.Transfer());
    } else if (!HandleCompletion(param.Transfer())) {
        const CamMutexGuard guard(m_park_lock);
        m_parked.PushFront(param.Transfer());
    }
}

/// On a thread that waits for its control request: see the class comment.
void CLibUSB_UvcCtrl::Park(TransferCbParam& param)
{
    {
        // Idle and parked at once: teardown empties the park before it frees
        // what is idle.
        const CamMutexGuard guard(m_park_lock);
        if (TransferSlots::SetIdle(param) && RingUnderParkLock() != nullptr)
            m_parked.PushBack(param.Transfer());
    }
    WakeForParked();
}

/// Ends an event slice early when payloads are parked: the event thread may
/// have looked for them just before.
void CLibUSB_UvcCtrl::WakeForParked()
{
    if (IsAnythingParked() && libusb_interrupt_event_handler != nullptr)
        libusb_interrupt_event_handler(m_context.Get());
}

/// Event thread: takes up what was parked. False when the first of them has to
/// wait for room in the ring.
bool CLibUSB_UvcCtrl::TakeParkedTransfers()
{
    // The way of nearly every payload, without a lock.
    while (IsAnythingParked()) {
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
/// ring.
bool CLibUSB_UvcCtrl::HandleCompletion(libusb_transfer* transfer)
{
    if (!m_assembler.IsAwaitingBuffer())
        LogCompletion(*transfer);
    return !BringsData(*transfer) || FillVideoBuf_Bulk(transfer);
}

void CLibUSB_UvcCtrl::Resubmit(libusb_transfer* transfer)
{
    if (m_streaming)
        m_transfers.Submit(*static_cast<SlottedTransfer*>(transfer->user_data));
}

/// Event thread: as HandleCompletion.
bool CLibUSB_UvcCtrl::FillVideoBuf_Bulk(libusb_transfer* transfer)
{
    if (!m_assembler.IsAwaitingBuffer() && transfer->status == LIBUSB_TRANSFER_TIMED_OUT &&
        m_streaming) {
        Resubmit(transfer);
        return true;
    }
    if (!m_assembler.IsReady()) {
        CAM_LOG(kLogFatal, "Frame Buffer for writing is NULL !!!\r\n");
        return true;
    }
    switch (m_assembler.Take(transfer->buffer, ReceivedLength(*transfer), transfer->status,
                             m_control_requests)) {
    case FrameAssembler::Answer::kNoRoom:
        return false;
    case FrameAssembler::Answer::kKeep:
        break;
    case FrameAssembler::Answer::kDropped:
        Resubmit(transfer);
        break;
    case FrameAssembler::Answer::kTaken:
        if (!m_streaming)
            CAM_LOG(kLogDebugging, "Stop submit transfer.\r\n");
        Resubmit(transfer);
        break;
    }
    return true;
}
