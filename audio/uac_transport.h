// The audio side of the camera's USB link.
#ifndef TORVIK_AUDIO_UAC_TRANSPORT_H
#define TORVIK_AUDIO_UAC_TRANSPORT_H

#include <atomic>
#include <cstdint>
#include <libusb.h>

#include "runtime/mutex.h"
#include "usb/camera_device.h"
#include "usb/transfer_slots.h"
#include "usb/usb_context.h"
#include "video/frame_queue.h"

/// Opens the camera's audio function, sets sampling rate and volume, and turns
/// isochronous transfers into PCM chunks in a ring of four buffers. When the
/// reader falls behind, chunks are dropped; completions never sleep.
///
/// Threads. One thread handles events (handle_libusb_event), one reads chunks,
/// any may set rate and volume; enabling, disabling and destroying are
/// serialised by the owner and happen while nobody reads. Completions may also
/// run on a thread that sends a control request.
///
/// Locks, outermost first: event mutex, completion lock, ring mutex. None of them
/// is held while a control request is made.
///
/// States, each with what may happen in it:
///
///     state      event                        action                             next
///     closed     Init                         open, claim, setting 0             open
///     closed     Init fails                   close again                        closed
///     closed     enable, disable, request     -1                                 closed
///     open       enable                       rate, volume range, setting 1,     streaming
///                                             allocate, submit both, volume
///     open       enable, a step before the    -1; nothing is in flight           open
///                submissions fails
///     open       enable, a submission         -1; free that transfer, keep the   streaming
///                refused                      one in flight
///     open       disable                      as from streaming, with nothing    open
///                                             to cancel
///     streaming  enable                       disable, then as from open         streaming
///     streaming  packets, room in the ring    a chunk; resubmit                  streaming
///     streaming  packets, the ring is full    drop the chunk; resubmit           streaming
///     streaming  device gone                  transfers leave circulation        streaming
///     streaming  disable                      cancel                             stopping
///     stopping   completion                   to the ring, not resubmitted       stopping
///     stopping   setting 0 refused            -1; transfers and ring stay        open
///     stopping   nothing in flight, or 1 s    free what is idle, delete the ring open
///     open,      destruction                  cancel, release, close, abandon    closed
///     streaming
///
/// open is IsOpen of the device, streaming is m_streaming; stopping lasts as long
/// as UAC_DisableAudioStream. What a refused setting left is reaped by the next
/// enable.
class CLibUSB_UacCtrl
{
public:
    CLibUSB_UacCtrl();
    virtual ~CLibUSB_UacCtrl();
    CLibUSB_UacCtrl(const CLibUSB_UacCtrl&) = delete;
    CLibUSB_UacCtrl& operator=(const CLibUSB_UacCtrl&) = delete;

    /// Opens the device and claims interfaces 3 and 2. 0, or -1.
    int Init(int vid, int pid);

    /// Starts streaming at `rate` Hz. 0, or -1; a failed submission leaves what
    /// was started in place until the next disable.
    int UAC_EnableAudioStream(int rate) EXCLUDES(m_event_mutex, m_completion_lock);
    /// 0, or -1 without a device or when the interface cannot be made idle, in
    /// which case transfers and buffers stay.
    int UAC_DisableAudioStream() EXCLUDES(m_event_mutex, m_completion_lock);

    /// 3, or the negative libusb error; -1 without a device.
    int UAC_SetSamplingRate(unsigned rate) EXCLUDES(m_event_mutex, m_completion_lock);
    /// Raw device units. 0; -1 without a device or out of the device's range;
    /// or the negative libusb error.
    int UAC_SetCurVolume(short volume) EXCLUDES(m_event_mutex, m_completion_lock);
    /// One class request to an entity: bytes moved, -1 without a device,
    /// 0x80000003 when the transfer failed.
    int UVC_query_ctrl(unsigned char request, unsigned char unit, unsigned char interface,
                       unsigned char selector, void* data, unsigned short length,
                       unsigned int timeout) EXCLUDES(m_event_mutex, m_completion_lock);

    /// Copies the oldest chunk, `len` bytes at most, and releases it; 0 when
    /// none came within 500 ms.
    unsigned ReadFrame(unsigned char* dst, unsigned len);
    /// The oldest chunk, lent until QueueFrameBuf: its size, or 0.
    int DequeFrameBuf(unsigned char** data, unsigned* size);
    int QueueFrameBuf();

    // Placeholders: always 0.
    int UAC_GetSupportedSampleFreqCount() { return 0; }
    int UAC_GetSupportedSampleFreq(int) { return 0; }
    int UAC_GetNumberOfPutputChannel() { return 0; }

    /// One pass of event handling, 33 ms at most.
    void handle_libusb_event() EXCLUDES(m_completion_lock);

protected:
    bool IsStreaming() const { return m_streaming; }
    /// Tells teardown whether cancelled transfers complete on an event thread.
    void SetEventThreadRunning(bool running) { m_event_thread_running = running; }
    std::int16_t MaxVolume() const { return m_max_volume; }
    std::int16_t MinVolume() const { return m_min_volume; }
    std::int16_t CurrentVolume() const { return m_current_volume; }

private:
    static constexpr unsigned kTransfers = 2;
    static_assert(kTransfers <= TransferSlots::kCapacity, "each has a slot");
    static constexpr int kFrameBuffers = 4;
    struct TransferCbParam;

    static void LIBUSB_CALL callback(libusb_transfer* transfer);
    void HandleCompletion(libusb_transfer* transfer) REQUIRES(m_completion_lock);
    void FillAudioData(libusb_transfer* transfer) REQUIRES(m_completion_lock);
    std::uint32_t CopyPackets(const libusb_transfer* transfer, unsigned char* chunk) const;
    void Resubmit(libusb_transfer* transfer) REQUIRES(m_completion_lock);

    bool NegotiateRate(int rate) EXCLUDES(m_event_mutex, m_completion_lock);
    bool ReadVolumeRange() EXCLUDES(m_event_mutex, m_completion_lock);
    bool GetVolumeLimit(unsigned char request, std::atomic<std::int16_t>& limit)
        EXCLUDES(m_event_mutex, m_completion_lock);
    void ChooseInitialVolume();
    int PrepareStream() EXCLUDES(m_event_mutex, m_completion_lock);
    bool AllocateTransfers() REQUIRES(m_event_mutex) EXCLUDES(m_completion_lock);
    bool AllocateBuffers() REQUIRES(m_event_mutex);
    bool AllocateRing() REQUIRES(m_event_mutex) EXCLUDES(m_completion_lock);
    int SubmitTransfers() REQUIRES(m_event_mutex);
    void DeleteRing() REQUIRES(m_event_mutex) EXCLUDES(m_completion_lock);
    void DeleteFrames() REQUIRES(m_event_mutex);
    /// Not under the event mutex, which the event thread needs for it.
    void ReapLeftTransfers() EXCLUDES(m_event_mutex, m_completion_lock);
    void CancelTransfers() EXCLUDES(m_event_mutex);
    void PumpCancellations() EXCLUDES(m_event_mutex, m_completion_lock);
    void WaitForCancellations() EXCLUDES(m_event_mutex, m_completion_lock);

    // Where a rule stands in for a lock.

    /// Either of the two locks under which the ring is written keeps it.
    CFrameBufQueue* RingUnderEventMutex() const REQUIRES(m_event_mutex) NO_THREAD_SAFETY_ANALYSIS
    {
        return m_ring;
    }
    CFrameBufQueue* RingUnderCompletionLock() const REQUIRES(m_completion_lock)
        NO_THREAD_SAFETY_ANALYSIS
    {
        return m_ring;
    }
    /// For the reader: the owner writes it while nobody reads.
    CFrameBufQueue* RingInUse() const NO_THREAD_SAFETY_ANALYSIS { return m_ring; }
    /// For the owner, who alone fills and empties the slots; the states in them
    /// are atomic.
    const TransferSlots& OwnTransfers() const NO_THREAD_SAFETY_ANALYSIS { return m_transfers; }
    /// For completions: a submission touches its transfer and no slot.
    void SubmitAgain(SlottedTransfer& transfer) NO_THREAD_SAFETY_ANALYSIS
    {
        m_transfers.Submit(transfer);
    }
    /// For the owner, when the ring is gone: no completion fills a frame then.
    void ForgetFillFrame() NO_THREAD_SAFETY_ANALYSIS { m_fill_frame = nullptr; }

    /// Recursive; held around event handling, cancelling and freeing.
    pMutex m_event_mutex ACQUIRED_BEFORE(m_completion_lock);
    const int m_iso_packets;
    // Atomic.
    std::atomic<std::int16_t> m_max_volume{0};
    std::atomic<std::int16_t> m_min_volume{0};
    std::atomic<std::int16_t> m_current_volume{-1};
    // The context is constant after construction, the device while it is open.
    UsbContext m_context;
    CameraDevice m_device{m_context};
    TransferSlots m_transfers GUARDED_BY(m_event_mutex){m_device};
    CFrameBuf* m_fill_frame GUARDED_BY(m_completion_lock) = nullptr;
    CFrameBuf* m_frames[kFrameBuffers] GUARDED_BY(m_event_mutex) = {};
    /// Written under both; see the accessors for who reads it.
    CFrameBufQueue* m_ring GUARDED_BY(m_event_mutex) GUARDED_BY(m_completion_lock) = nullptr;
    std::atomic<bool> m_streaming{false};

    /// Held by a completion on whichever thread it runs, and by teardown while
    /// it frees. A thread that sends a control request would have to wait a
    /// whole event slice for the event mutex.
    CamMutex m_completion_lock;
    int m_packet_size GUARDED_BY(m_event_mutex) = 0;  ///< bytes of one isochronous packet
    std::atomic<bool> m_event_thread_running{false};
};

#endif
