// From isochronous packets to PCM chunks.

#include <algorithm>
#include <cstring>

#include "audio/audio_transfer.h"
#include "audio/uac_transport.h"
#include "runtime/debug_log.h"
#include "runtime/sleep.h"
#include "usb/completion_log.h"

namespace {

constexpr long kEventSliceMicroseconds = 33000;
constexpr unsigned long kIdleSleepMicroseconds = 500;
/// A chunk that grows this far starts again at the front of its buffer.
constexpr std::uint32_t kChunkWrap = 16000;

}  // namespace

void CLibUSB_UacCtrl::handle_libusb_event()
{
    {
        const MutexGuard guard(m_event_mutex);
        timeval slice = {0, kEventSliceMicroseconds};
        if (m_context.IsReady())
            libusb_handle_events_timeout(m_context.Get(), &slice);
        else
            SleepMicroseconds(kEventSliceMicroseconds);
        if (RingUnderEventMutex() != nullptr)
            RingUnderEventMutex()->WakeOverdueConsumer();
    }
    // Leaves teardown a chance at the lock.
    if (!m_streaming)
        SleepMicroseconds(kIdleSleepMicroseconds);
}

void LIBUSB_CALL CLibUSB_UacCtrl::callback(libusb_transfer* transfer)
{
    auto* const param = static_cast<TransferCbParam*>(TransferSlots::Completed(transfer));
    if (param == nullptr)
        return;
    CLibUSB_UacCtrl& owner = param->owner;
    if (transfer->status == LIBUSB_TRANSFER_NO_DEVICE)
        owner.m_device.HeedLoss();
    const CamMutexGuard guard(owner.m_completion_lock);
    if (TransferSlots::SetIdle(*param) && owner.RingUnderCompletionLock() != nullptr)
        owner.HandleCompletion(transfer);
}

void CLibUSB_UacCtrl::HandleCompletion(libusb_transfer* transfer)
{
    LogCompletion(*transfer);
    if (BringsData(*transfer))
        FillAudioData(transfer);
}

void CLibUSB_UacCtrl::Resubmit(libusb_transfer* transfer)
{
    if (!m_streaming) {
        CAM_LOG_AS("FillAudioData", kLogDebugging, "Stop submit audio transfer.\r\n");
        return;
    }
    SubmitAgain(*static_cast<SlottedTransfer*>(transfer->user_data));
}

void CLibUSB_UacCtrl::FillAudioData(libusb_transfer* transfer)
{
    // The ring's only producer is here, under the completion lock, so a slot
    // that is free now stays free.
    CFrameBufQueue* const ring = RingUnderCompletionLock();
    const int filled = ring->Count();
    if (filled >= ring->Capacity()) {
        CAM_LOG(kLogDebugging, "Audio frame drop. %d buf, %d offset\r\n", filled, 0);
        Resubmit(transfer);
        return;
    }
    m_fill_frame = ring->Acquire();
    m_fill_frame->size = CopyPackets(transfer, m_fill_frame->Data());
    m_fill_frame = nullptr;
    ring->Commit();
    Resubmit(transfer);
}

/// Copies the packets' data back to back; the length of the chunk.
std::uint32_t CLibUSB_UacCtrl::CopyPackets(const libusb_transfer* transfer,
                                           unsigned char* chunk) const
{
    std::uint32_t offset = 0;
    std::size_t packet_start = 0;
    for (int i = 0; i < transfer->num_iso_packets; ++i) {
        const libusb_iso_packet_descriptor& packet = transfer->iso_packet_desc[i];
        const unsigned char* const data = transfer->buffer + packet_start;
        packet_start += packet.length;
        const std::uint32_t actual = std::min(packet.actual_length, packet.length);
        if (actual == 0)
            continue;
        if (offset + actual < kChunkWrap) {
            std::memcpy(chunk + offset, data, actual);
            offset += actual;
            continue;
        }
        const std::uint32_t head = kChunkWrap > offset ? kChunkWrap - offset : 0;
        const std::uint32_t rest = actual - head;
        std::memcpy(chunk + offset, data, head);
        CAM_LOG_AS("FillAudioData", kLogDebugging, "offset  =%d\n", static_cast<int>(offset));
        CAM_LOG_AS("FillAudioData", kLogDebugging, "acture = %d\n", static_cast<int>(actual));
        std::memcpy(chunk, data + head, rest);
        offset = rest;
    }
    return offset;
}

unsigned CLibUSB_UacCtrl::ReadFrame(unsigned char* dst, unsigned len)
{
    return RingInUse() != nullptr ? RingInUse()->CopyOut(dst, len) : 0;
}

int CLibUSB_UacCtrl::DequeFrameBuf(unsigned char** data, unsigned* size)
{
    *data = nullptr;
    *size = 0;
    return RingInUse() != nullptr ? RingInUse()->Lend(data, size) : 0;
}

int CLibUSB_UacCtrl::QueueFrameBuf()
{
    if (RingInUse() != nullptr)
        RingInUse()->Release();
    return 0;
}
