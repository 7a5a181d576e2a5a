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
/// Locks, outermost first: transfer lock, park lock, ring mutex.
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
                       unsigned int timeout);

    /// Negotiates and starts a stream: 0; -1 when a step failed; the negative
    /// error of the last transfer's submission, streaming all the same.
    int UVC_EnableVideoStream(int formatId, int frameId, int fps);
    /// Stops the stream and frees its buffers: the result of selecting
    /// alternate setting 0.
    int UVC_DisableVideoStream();

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
    void handle_libusb_event();

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
    void Park(TransferCbParam& param);
    bool HandleCompletion(libusb_transfer* transfer);
    bool FillVideoBuf_Bulk(libusb_transfer* transfer);
    bool TakeParkedTransfers();
    void WakeForParked();
    void WakeOverdueConsumer();
    bool OnEventThread() const;
    void Resubmit(libusb_transfer* transfer);

    int Negotiate(int formatId, int frameId, int fps, unsigned char* answer);
    bool AllocateStream();
    bool AllocateFrames();
    bool AllocateTransfers();
    int SubmitTransfers();
    void FreeLeftTransfers();
    void DeleteRing();
    void DeleteFrames();
    void CancelTransfers();
    void PumpCancellations();
    void WaitForCancellations();
    void FreeTransfers();

    /// Recursive; held around event handling and every change of the transfers,
    /// the buffers and their sizes.
    pMutex m_transfer_lock;
    std::uint32_t m_max_frame_size = 0;    ///< bytes of each frame buffer
    std::uint32_t m_max_payload_size = 0;  ///< bytes of each bulk transfer
    int m_format_id = 0;
    int m_frame_id = 0;
    UsbContext m_context;
    CameraDevice m_device{m_context};
    TransferSlots m_transfers{m_device};
    CFrameBuf* m_frames[kFrameBuffers] = {};
    /// Written under both the transfer lock and the park lock.
    CFrameBufQueue* m_frame_queue = nullptr;
    std::atomic<bool> m_streaming{false};
    FrameAssembler m_assembler;  ///< under the transfer lock
    // Event thread only.
    bool m_pass_brought_payloads = false;
    unsigned m_busy_passes = 0;

    std::atomic<pthread_t> m_event_pass_thread{};  ///< inside handle_libusb_event, or 0
    std::atomic<bool> m_event_thread_running{false};
    std::atomic<int> m_control_requests{0};  ///< under way on this handle

    CamMutex m_park_lock;
    ParkedTransfers m_parked;  ///< guarded by m_park_lock
};

#endif
