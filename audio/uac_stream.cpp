// Start and teardown of the audio stream.

#include <algorithm>
#include <iterator>
#include <new>

#include "audio/transfer_param.h"
#include "audio/uac_constants.h"
#include "audio/uac_transport.h"
#include "runtime/deadline.h"
#include "runtime/debug_log.h"
#include "runtime/sleep.h"

namespace {

constexpr char kEnable[] = "UAC_EnableAudioStream";
constexpr unsigned kIsoTimeoutMs = 1000;
constexpr unsigned long kCancelSettleMs = 400;
constexpr int kSettleLimitMs = 1000;
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
    if (!AnyInFlight())
        return;
    CancelTransfers();
    PumpCancellations();
    WaitForCancellations();
}

int CLibUSB_UacCtrl::PrepareStream()
{
    const MutexGuard guard(m_event_mutex);
    if (!AllocateTransfers()) {
        FreeTransfers();
        return -1;
    }
    m_packet_size = libusb_get_max_iso_packet_size(m_device.Device(), kAudioEndpoint);
    if (m_packet_size < 1) {
        CAM_LOG_AS(kEnable, kLogDebugging, "libusb_get_max_iso_packet_size Fail");
        return -1;
    }

    if (!AllocateParams() || !AllocateRing()) {
        FreeTransfers();
        DeleteRing();
        DeleteFrames();
        return -1;
    }
    m_streaming = true;
    return SubmitTransfers();
}

bool CLibUSB_UacCtrl::AllocateTransfers()
{
    FreeTransfers();
    for (unsigned i = 0; i < kTransfers; ++i) {
        if (m_transfers[i] != nullptr) {
            // Still in flight although its stream has long ended: given up, a
            // late completion frees it.
            m_params[i]->owner = nullptr;
            static_cast<void>(m_params[i].release());
            m_in_flight[i] = false;
        }
        m_transfers[i] = libusb_alloc_transfer(m_iso_packets);
    }
    return std::all_of(std::begin(m_transfers), std::end(m_transfers),
                       [](const libusb_transfer* transfer) { return transfer != nullptr; });
}

bool CLibUSB_UacCtrl::AllocateParams()
{
    const int transfer_size = m_iso_packets * m_packet_size;
    const std::size_t buffer_size = std::max(TransferCbParam::kMinBufferSize,
                                             static_cast<std::size_t>(transfer_size));
    for (unsigned i = 0; i < kTransfers; ++i) {
        m_params[i].reset(new (std::nothrow) TransferCbParam(this, static_cast<std::uint8_t>(i),
                                                             buffer_size));
        if (m_params[i] == nullptr || m_params[i]->buffer == nullptr)
            return false;
        libusb_fill_iso_transfer(m_transfers[i], m_device.Handle(), kAudioEndpoint,
                                 m_params[i]->buffer, transfer_size, m_iso_packets, callback,
                                 m_params[i].get(), kIsoTimeoutMs);
        libusb_set_iso_packet_lengths(m_transfers[i], static_cast<unsigned>(m_packet_size));
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
        if (Submit(m_transfers[i], i) >= 0)
            continue;
        // What was submitted before stays until the next disable.
        CAM_LOG_AS(kEnable, kLogDebugging, "libusb_fill_iso_transfer error: Audio %d\n",
                   static_cast<int>(i));
        libusb_free_transfer(m_transfers[i]);
        m_transfers[i] = nullptr;
        return -1;
    }
    return 0;
}

int CLibUSB_UacCtrl::Submit(libusb_transfer* transfer, unsigned index)
{
    // Set first: the completion may run on another thread before submit returns.
    m_in_flight[index] = true;
    const int result = m_device.Heed(libusb_submit_transfer(transfer));
    if (result < 0)
        m_in_flight[index] = false;
    return result;
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
    FreeTransfers();
    DeleteRing();
    DeleteFrames();
    return 0;
}

void CLibUSB_UacCtrl::CancelTransfers()
{
    const MutexGuard guard(m_event_mutex);
    for (libusb_transfer* const transfer : m_transfers) {
        if (transfer != nullptr)
            m_device.Heed(libusb_cancel_transfer(transfer));
    }
}

void CLibUSB_UacCtrl::PumpCancellations()
{
    // Without an event thread nobody else would.
    if (m_event_thread_running)
        return;
    const Deadline deadline(kSettleLimitMs);
    while (AnyInFlight() && !deadline.Passed())
        handle_libusb_event();
}

void CLibUSB_UacCtrl::WaitForCancellations()
{
    // A loaded machine may need longer than the fixed time; a device that went
    // silent never ends.
    if (!m_event_thread_running)
        return;
    const Deadline deadline(kSettleLimitMs);
    while (AnyInFlight() && !deadline.Passed())
        SleepMilliseconds(kSettlePollMs);
}

bool CLibUSB_UacCtrl::AnyInFlight() const
{
    return std::any_of(std::begin(m_in_flight), std::end(m_in_flight),
                       [](const std::atomic<bool>& in_flight) { return in_flight.load(); });
}

/// Frees what is not in flight.
void CLibUSB_UacCtrl::FreeTransfers()
{
    const CamMutexGuard guard(m_completion_lock);
    for (unsigned i = 0; i < kTransfers; ++i) {
        if (m_in_flight[i])
            continue;
        m_params[i].reset();
        if (m_transfers[i] != nullptr)
            libusb_free_transfer(m_transfers[i]);
        m_transfers[i] = nullptr;
    }
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
    m_fill_frame = nullptr;
}
