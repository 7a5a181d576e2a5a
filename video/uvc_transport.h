// The video side of the camera's USB link.
#ifndef TORVIK_VIDEO_UVC_TRANSPORT_H
#define TORVIK_VIDEO_UVC_TRANSPORT_H

#include <atomic>
#include <cstdint>
#include <libusb.h>
#include <pthread.h>

#include "runtime/mutex.h"
#include "usb/camera_device.h"
#include "usb/transfer_slots.h"
#include "usb/usb_context.h"
#include "video/frame_assembler.h"
#include "video/frame_queue.h"
#include "video/parked_transfers.h"

/// Opens the camera's video function, negotiates a bulk stream, reassembles its
/// payloads into frames and sends the class controls.
///
/// Threads. One thread handles events (handle_libusb_event); one consumes
/// frames (DequeFrameBuf, QueueFrameBuf, ReadFrame); any may send controls;
/// enabling, disabling and destroying are serialised by the owner and happen
/// while nobody consumes.
///
/// Completions. libusb finishes a control request inside an event pass, which
/// the requesting thread makes itself when nobody else does. So completions may
/// run on any thread that sends a control request. On such a thread they only
/// park their transfer: the ring may be full, and the consumer that would empty
/// it may be the very thread that waits for the request. The event thread takes
/// parked payloads up, in order, before any new one. For the same reason it
/// does not sleep on a full ring while a control request is under way.
///
/// Locks, outermost first: transfer lock, park lock, ring mutex. None of them is
/// held while a control request is made.
///
/// States, each with what may happen in it:
///
///     state      event                        action                             next
///     closed     Init                         open, claim, setting 0             open
///     closed     Init fails                   close again                        closed
///     closed     enable, control request      -1                                 closed
///     open       enable                       negotiate, allocate, submit all    streaming
///     open       enable, a step before the    -1; nothing is in flight           open
///                submissions fails
///     open       enable, the last submission  its error; streams, but without    streaming
///                refused                      an event thread
///     open       disable                      as from streaming, with nothing    open
///                                             to cancel
///     streaming  enable                       disable, then as from open         streaming
///     streaming  payload                      to the ring or parked; resubmit    streaming
///     streaming  device gone                  transfers leave circulation        streaming
///     streaming  disable                      close and delete the ring, then    stopping
///                                             cancel
///     stopping   completion                   ignored: there is no ring          stopping
///     stopping   nothing in flight, or 1 s    setting 0, free what is idle       open
///     open,      destruction                  release, close, free or abandon    closed
///     streaming
///
/// open is IsOpen of the device, streaming is m_streaming; stopping lasts as long
/// as UVC_DisableVideoStream.
class CLibUSB_UvcCtrl
{
public:
    CLibUSB_UvcCtrl();
    virtual ~CLibUSB_UvcCtrl();
    CLibUSB_UvcCtrl(const CLibUSB_UvcCtrl&) = delete;
    CLibUSB_UvcCtrl& operator=(const CLibUSB_UvcCtrl&) = delete;

    /// Opens the device and claims interfaces 1 and 0. 0, or -1.
    int Init(int vid, int pid);

    /// One class request to an entity or interface (UVC 1.5, 4.1): the bytes
    /// moved, -1 without a device, 0x80000003 when the transfer failed.
    int UVC_query_ctrl(unsigned char request, unsigned char unit, unsigned char interface,
                       unsigned char selector, void* data, unsigned short length,
                       unsigned int timeout) EXCLUDES(m_transfer_lock, m_park_lock);

    /// Negotiates and starts a stream: 0; -1 when a step failed; the negative
    /// error of the last transfer's submission, streaming all the same.
    int UVC_EnableVideoStream(int formatId, int frameId, int fps)
        EXCLUDES(m_transfer_lock, m_park_lock);
    /// Stops the stream and frees its buffers: the result of selecting
    /// alternate setting 0.
    int UVC_DisableVideoStream() EXCLUDES(m_transfer_lock, m_park_lock);

    // Controls: 1 on success, 0 on failure or for a control there is not.
    int SetPU(unsigned int selector, int value);
    int GetPTZ(unsigned int id, int* value);
    int SetPTZ(unsigned int id, int value);
    int RequestKeyFrame();
    int SetFramerate(unsigned short fps);
    int SetBitrate(unsigned short bitrate);

    // Extension-unit commands: the result of UVC_query_ctrl.
    int KelCommandGet(unsigned char selector, unsigned char* data, unsigned char length);
    int KelCommandSend(unsigned char selector, unsigned char* data, unsigned char length);
    /// `command` has 8 bytes; `reply` is left alone.
    int KelISPCommand(unsigned char* command, unsigned char* reply);

    /// The oldest frame, lent until QueueFrameBuf: its size, or 0 with both
    /// outputs cleared when none came within 500 ms.
    int DequeFrameBuf(unsigned char** data, unsigned int* size);
    int QueueFrameBuf();
    /// Copies the oldest frame, `maxLength` bytes at most, and releases it.
    unsigned int ReadFrame(unsigned char* dst, unsigned int maxLength);

    /// One pass of event handling, 33 ms at most unless the ring is full.
    /// Also made by teardown, which may hold the transfer lock.
    void handle_libusb_event() EXCLUDES(m_park_lock);

protected:
    static constexpr unsigned kTransfers = 3;
    static_assert(kTransfers <= TransferSlots::kCapacity, "each has a slot");
    static_assert(kTransfers <= ParkedTransfers::kCapacity, "each of them may be parked");
    static constexpr int kFrameBuffers = 5;

    bool IsStreaming() const { return m_streaming; }
    libusb_device_handle* DeviceHandle() const { return m_device.Handle(); }
    /// Setting 0 of the streaming interface; libusb's result.
    int SelectIdleSetting();
    /// Tells teardown whether cancelled transfers complete on an event thread.
    void SetEventThreadRunning(bool running) { m_event_thread_running = running; }

private:
    struct TransferCbParam;
    class ControlRequestScope;

    static void LIBUSB_CALL callback(libusb_transfer* transfer);
    void OnCompletion(TransferCbParam& param);
    void Park(TransferCbParam& param) EXCLUDES(m_park_lock);
    bool HandleCompletion(libusb_transfer* transfer) REQUIRES(m_transfer_lock);
    bool FillVideoBuf_Bulk(libusb_transfer* transfer) REQUIRES(m_transfer_lock);
    bool TakeParkedTransfers() REQUIRES(m_transfer_lock) EXCLUDES(m_park_lock);
    void WakeForParked() EXCLUDES(m_park_lock);
    void WakeOverdueConsumer() REQUIRES(m_transfer_lock);
    bool OnEventThread() const;
    void Resubmit(libusb_transfer* transfer) REQUIRES(m_transfer_lock);

    int Negotiate(int formatId, int frameId, int fps, unsigned char* answer)
        EXCLUDES(m_transfer_lock, m_park_lock);
    bool AllocateStream() REQUIRES(m_transfer_lock);
    bool AllocateFrames() REQUIRES(m_transfer_lock) EXCLUDES(m_park_lock);
    bool AllocateTransfers() REQUIRES(m_transfer_lock);
    int SubmitTransfers() REQUIRES(m_transfer_lock);
    void FreeLeftTransfers() REQUIRES(m_transfer_lock);
    void DeleteRing() REQUIRES(m_transfer_lock) EXCLUDES(m_park_lock);
    void DeleteFrames() REQUIRES(m_transfer_lock);
    void CancelTransfers() EXCLUDES(m_transfer_lock);
    void PumpCancellations() EXCLUDES(m_park_lock);
    /// Not under the transfer lock, which the event thread needs for it.
    void WaitForCancellations() EXCLUDES(m_transfer_lock);
    void FreeTransfers() EXCLUDES(m_transfer_lock);

    // Where a rule stands in for a lock.

    /// Once OnEventThread has said so: handle_libusb_event, further up on this
    /// thread's stack, holds the transfer lock.
    void InEventPass() const ASSERT_CAPABILITY(m_transfer_lock) {}
    /// Either of the two locks under which the ring is written keeps it.
    CFrameBufQueue* RingUnderTransferLock() const REQUIRES(m_transfer_lock)
        NO_THREAD_SAFETY_ANALYSIS
    {
        return m_frame_queue;
    }
    CFrameBufQueue* RingUnderParkLock() const REQUIRES(m_park_lock) NO_THREAD_SAFETY_ANALYSIS
    {
        return m_frame_queue;
    }
    /// For the consumer, and for the owner, who alone writes it and does so while
    /// nobody consumes.
    CFrameBufQueue* RingInUse() const NO_THREAD_SAFETY_ANALYSIS { return m_frame_queue; }
    /// For the owner, who alone fills and empties the slots; the states in them
    /// are atomic.
    const TransferSlots& OwnTransfers() const NO_THREAD_SAFETY_ANALYSIS { return m_transfers; }
    /// The number of parked transfers is atomic.
    bool IsAnythingParked() const NO_THREAD_SAFETY_ANALYSIS { return !m_parked.IsEmpty(); }

    /// Recursive; held around event handling and every change of the transfers,
    /// the buffers and their sizes.
    pMutex m_transfer_lock ACQUIRED_BEFORE(m_park_lock);
    /// Bytes of each frame buffer, and of each bulk transfer.
    std::uint32_t m_max_frame_size GUARDED_BY(m_transfer_lock) = 0;
    std::uint32_t m_max_payload_size GUARDED_BY(m_transfer_lock) = 0;
    // The owner's.
    int m_format_id = 0;
    int m_frame_id = 0;
    // The context is constant after construction, the device while it is open.
    UsbContext m_context;
    CameraDevice m_device{m_context};
    TransferSlots m_transfers GUARDED_BY(m_transfer_lock){m_device};
    CFrameBuf* m_frames[kFrameBuffers] GUARDED_BY(m_transfer_lock) = {};
    /// Written under both; see the accessors for who reads it.
    CFrameBufQueue* m_frame_queue GUARDED_BY(m_transfer_lock) GUARDED_BY(m_park_lock) = nullptr;
    std::atomic<bool> m_streaming{false};
    FrameAssembler m_assembler GUARDED_BY(m_transfer_lock);
    // Of event passes, see handle_libusb_event.
    bool m_pass_brought_payloads GUARDED_BY(m_transfer_lock) = false;
    unsigned m_busy_passes GUARDED_BY(m_transfer_lock) = 0;

    // Atomic.
    std::atomic<pthread_t> m_event_pass_thread{};  ///< inside handle_libusb_event, or 0
    std::atomic<bool> m_event_thread_running{false};
    std::atomic<int> m_control_requests{0};  ///< under way on this handle

    /// Held for a few instructions, by completions on any thread.
    CamMutex m_park_lock;
    ParkedTransfers m_parked GUARDED_BY(m_park_lock);
};

#endif
