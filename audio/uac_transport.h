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
/// Locks, outermost first: event mutex, completion lock, ring mutex.
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
    int UAC_EnableAudioStream(int rate);
    /// 0, or -1 without a device or when the interface cannot be made idle, in
    /// which case transfers and buffers stay.
    int UAC_DisableAudioStream();

    /// 3, or the negative libusb error; -1 without a device.
    int UAC_SetSamplingRate(unsigned rate);
    /// Raw device units. 0; -1 without a device or out of the device's range;
    /// or the negative libusb error.
    int UAC_SetCurVolume(short volume);
    /// One class request to an entity: bytes moved, -1 without a device,
    /// 0x80000003 when the transfer failed.
    int UVC_query_ctrl(unsigned char request, unsigned char unit, unsigned char interface,
                       unsigned char selector, void* data, unsigned short length,
                       unsigned int timeout);

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
    void handle_libusb_event();

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
    void HandleCompletion(libusb_transfer* transfer);
    void FillAudioData(libusb_transfer* transfer);
    std::uint32_t CopyPackets(const libusb_transfer* transfer, unsigned char* chunk) const;
    void Resubmit(libusb_transfer* transfer);

    bool NegotiateRate(int rate);
    bool ReadVolumeRange();
    bool GetVolumeLimit(unsigned char request, std::atomic<std::int16_t>& limit);
    void ChooseInitialVolume();
    int PrepareStream();
    bool AllocateTransfers();
    bool AllocateBuffers();
    bool AllocateRing();
    int SubmitTransfers();
    void DeleteRing();
    void DeleteFrames();
    void ReapLeftTransfers();
    void CancelTransfers();
    void PumpCancellations();
    void WaitForCancellations();

    pMutex m_event_mutex;  ///< recursive; held around event handling, cancelling and freeing
    const int m_iso_packets;
    std::atomic<std::int16_t> m_max_volume{0};
    std::atomic<std::int16_t> m_min_volume{0};
    std::atomic<std::int16_t> m_current_volume{-1};
    UsbContext m_context;
    CameraDevice m_device{m_context};
    TransferSlots m_transfers{m_device};
    CFrameBuf* m_fill_frame = nullptr;
    CFrameBuf* m_frames[kFrameBuffers] = {};
    CFrameBufQueue* m_ring = nullptr;  ///< written under the completion lock
    std::atomic<bool> m_streaming{false};

    /// Held by a completion on whichever thread it runs, and by teardown while
    /// it frees. A thread that sends a control request would have to wait a
    /// whole event slice for the event mutex.
    CamMutex m_completion_lock;
    int m_packet_size = 0;  ///< bytes of one isochronous packet
    std::atomic<bool> m_event_thread_running{false};
};

#endif
