// Start and teardown of the audio stream.

#include <algorithm>
#include <memory>
#include <new>

#include "audio/audio_transfer.h"
#include "audio/uac_constants.h"
#include "audio/uac_transport.h"
#include "runtime/debug_log.h"
#include "runtime/sleep.h"

namespace {

constexpr char kEnable[] = "UAC_EnableAudioStream";
constexpr unsigned kIsoTimeoutMs = 1000;
constexpr unsigned long kCancelSettleMs = 400;
constexpr unsigned long kSettlePollMs = 1;

}  // namespace

int CLibUSB_UacCtrl::UAC_EnableAudioStream(int rate)
{
    if (m_streaming)
        UAC_DisableAudioStream();
    if (!m_device.IsOpen())
        return -1;

    CAM_LOG(kLogDebugging, "CLibUSB_UacCtrl::UAC_EnableAudioStream  %d Hz\r\n", rate);
    if (!NegotiateRate(rate) || !ReadVolumeRange())
        return -1;
    ChooseInitialVolume();

    if (m_device.SelectSetting(kAudioStreamingInterface, kStreamingSetting) < 0) {
        CAM_LOG(kLogDebugging, "UAC_EnableAudioStream Error: IF = 3, Alt = 1");
        return -1;
    }

    ReapLeftTransfers();
    const int result = PrepareStream();
    if (result < 0)
        return result;
    UAC_SetCurVolume(m_current_volume);
    return 0;
}

/// What a failed disable left in flight; not under the event mutex, which the
/// event thread needs for it.
void CLibUSB_UacCtrl::ReapLeftTransfers()
{
    if (!OwnTransfers().AnyInFlight())
        return;
    CancelTransfers();
    PumpCancellations();
    WaitForCancellations();
}

int CLibUSB_UacCtrl::PrepareStream()
{
    const MutexGuard guard(m_event_mutex);
    if (!AllocateTransfers())
        return -1;
    m_packet_size = libusb_get_max_iso_packet_size(m_device.Device(), kAudioEndpoint);
    if (m_packet_size < 1) {
        CAM_LOG_AS(kEnable, kLogDebugging, "libusb_get_max_iso_packet_size Fail");
        return -1;
    }
    if (!AllocateBuffers() || !AllocateRing()) {
        m_transfers.FreeIdle();
        DeleteRing();
        DeleteFrames();
        return -1;
    }
    m_streaming = true;
    return SubmitTransfers();
}

bool CLibUSB_UacCtrl::AllocateTransfers()
{
    {
        // What is in flight although its stream has long ended is given up.
        const CamMutexGuard guard(m_completion_lock);
        m_transfers.Abandon();
    }
    for (unsigned i = 0; i < kTransfers; ++i) {
        std::unique_ptr<TransferCbParam> param(new (std::nothrow) TransferCbParam(*this, i));
        if (!m_transfers.Allocate(std::move(param), m_iso_packets)) {
            m_transfers.FreeIdle();
            return false;
        }
    }
    return true;
}

bool CLibUSB_UacCtrl::AllocateBuffers()
{
    const int transfer_size = m_iso_packets * m_packet_size;
    const std::size_t buffer_size = std::max(TransferCbParam::kMinBufferSize,
                                             static_cast<std::size_t>(transfer_size));
    for (unsigned i = 0; i < kTransfers; ++i) {
        SlottedTransfer& slot = *m_transfers.At(i);
        if (!slot.AllocateBuffer(buffer_size))
            return false;
        libusb_fill_iso_transfer(slot.Transfer(), m_device.Handle(), kAudioEndpoint, slot.Buffer(),
                                 transfer_size, m_iso_packets, callback, &slot, kIsoTimeoutMs);
        libusb_set_iso_packet_lengths(slot.Transfer(), static_cast<unsigned>(m_packet_size));
    }
    return true;
}

bool CLibUSB_UacCtrl::AllocateRing()
{
    DeleteRing();
    DeleteFrames();
    for (CFrameBuf*& frame : m_frames) {
        frame = new (std::nothrow)
            CFrameBuf(static_cast<std::size_t>(m_iso_packets) * static_cast<unsigned>(m_packet_size));
        if (frame == nullptr || frame->Data() == nullptr)
            return false;
    }
    auto* const ring = new (std::nothrow) CFrameBufQueue(m_frames, kFrameBuffers);
    const CamMutexGuard guard(m_completion_lock);
    m_ring = ring;
    return ring != nullptr;
}

int CLibUSB_UacCtrl::SubmitTransfers()
{
    for (unsigned i = 0; i < kTransfers; ++i) {
        if (m_transfers.Submit(*m_transfers.At(i)) >= 0)
            continue;
        // What was submitted before stays until the next disable.
        CAM_LOG_AS(kEnable, kLogDebugging, "libusb_fill_iso_transfer error: Audio %d\n",
                   static_cast<int>(i));
        m_transfers.Free(i);
        return -1;
    }
    return 0;
}

int CLibUSB_UacCtrl::UAC_DisableAudioStream()
{
    if (!m_device.IsOpen())
        return -1;
    {
        // A completion resubmits before this, and is cancelled, or sees it.
        const CamMutexGuard guard(m_completion_lock);
        m_streaming = false;
    }
    CancelTransfers();
    PumpCancellations();
    if (m_device.SelectSetting(kAudioStreamingInterface, kIdleSetting) < 0) {
        CAM_LOG(kLogDebugging, "UAC_DisableAudioStream: IF = 3, Alt = 0 Error!!");
        return -1;
    }
    SleepMilliseconds(kCancelSettleMs);
    WaitForCancellations();

    const MutexGuard guard(m_event_mutex);
    {
        const CamMutexGuard completion_guard(m_completion_lock);
        m_transfers.FreeIdle();
    }
    DeleteRing();
    DeleteFrames();
    return 0;
}

void CLibUSB_UacCtrl::CancelTransfers()
{
    const MutexGuard guard(m_event_mutex);
    for (unsigned i = 0; i < kTransfers; ++i)
        m_transfers.Cancel(i);
}

void CLibUSB_UacCtrl::PumpCancellations()
{
    // Without an event thread nobody else would.
    if (!m_event_thread_running)
        OwnTransfers().WaitUntilIdle([this] { handle_libusb_event(); });
}

void CLibUSB_UacCtrl::WaitForCancellations()
{
    // A loaded machine may need longer than the fixed time.
    if (m_event_thread_running)
        OwnTransfers().WaitUntilIdle([] { SleepMilliseconds(kSettlePollMs); });
}

void CLibUSB_UacCtrl::DeleteRing()
{
    CFrameBufQueue* ring;
    {
        const CamMutexGuard guard(m_completion_lock);
        ring = m_ring;
        m_ring = nullptr;
    }
    if (ring == nullptr)
        return;
    ring->Close();
    ring->DrainWaiters();
    delete ring;
}

void CLibUSB_UacCtrl::DeleteFrames()
{
    for (CFrameBuf*& frame : m_frames) {
        delete frame;
        frame = nullptr;
    }
    ForgetFillFrame();
}
