/// @file
/// The camera object as the host sees it.
#ifndef TORVIK_API_CAMERA_SUBJECT_H
#define TORVIK_API_CAMERA_SUBJECT_H

#include <atomic>
#include <string>
#include <vector>

#include "api/camera_data.h"
#include "api/camera_observer.h"
#include "api/camera_property.h"

/// One camera. Made by cam_create, freed by cam_destroy. The order of the
/// virtual operations is the binary interface and never changes.
///
/// Threads: every operation may be called from any host thread and at the same
/// time as any other, unless its text says otherwise. From inside an observer
/// only GetState, SetState, GetVendorName and GetModelName may be called. From
/// inside the Init call-back everything may be, but the camera must not be
/// destroyed there. No operation throws: without memory, what needs it fails.
///
/// Locks: StartRecording and StopRecording take the start/stop lock and then
/// the video-control lock; SetProperty holds the video-control lock and, when
/// it restarts recording (CAM_PROPERTY_RESOLUTION, _SIGNAL_TYPE, _VIDEOMODE),
/// takes the start/stop lock inside it. A host should therefore not start or
/// stop recording on one thread while another sets one of these three
/// properties: the two wait for each other, and which of them has its way in
/// the end is not defined.
///
/// A camera that was unplugged and plugged in again is used through a new
/// camera object (cam_destroy, then cam_create): the object keeps the device
/// it opened first.
class ICameraSubject {
public:
    virtual ~ICameraSubject() = default;

    /// Starts looking for the device and returns at once. A camera whose boot
    /// loader runs gets its firmware first, so that up to half a minute and
    /// more may pass before the answer; without a device it takes some 5 s.
    ///
    /// While an earlier Init is still looking or downloading, this one waits
    /// until that is over, its call-back included, and then starts another
    /// search. When somebody else has started one meanwhile, it stays with that
    /// one, which calls back the call-back given last. From inside the call-back
    /// it never waits for the search that is calling back.
    ///
    /// Refused, without a call-back, while CAM_STATE_CONNECTED; allowed again
    /// in every other state, also from inside the call-back. A camera that
    /// records should be stopped before: Init takes it back to
    /// CAM_STATE_CONNECTED with its streams running. Sound then goes on with
    /// stamps that begin again at 0.
    ///
    /// A search that the system has no memory or no thread for has failed: the
    /// call-back is called with false before Init returns.
    ///
    /// @param callback  called on the loader thread, with no lock held: true =
    ///        CAM_STATE_CONNECTED, false = CAM_STATE_DISCONNECTED, no usable
    ///        camera; and once more with false, recording having been stopped,
    ///        when the camera is unplugged later. Null is allowed. While it runs
    ///        nobody watches for unplugging.
    /// @param argument  logged and not used
    virtual void Init(void (*callback)(bool), int argument) = 0;

    /// The camera's state, as it was a moment ago.
    ///
    /// @return what the driver or SetState stored last
    virtual CAM_STATE GetState() { return m_State.load(std::memory_order_acquire); }

    /// Forces a state; meant for diagnosis. Nothing is started or stopped, but
    /// all operations go by the new state.
    ///
    /// @param state  stored without a check
    virtual void SetState(CAM_STATE state) { m_State.store(state, std::memory_order_release); }

    /// Adds an observer for the stream in its `stream` member, in any state, to
    /// be called after those that are there already. A new main H.264 observer
    /// of a recording camera starts on a key frame, which is asked for here.
    /// Waits while a frame is being delivered.
    ///
    /// @param observer  stays the host's, alive until RemoveObserver has returned
    ///        or the camera is destroyed
    /// @return false when it is null, already registered or of a type above 17
    virtual bool RegisterObserver(ICameraObserver* observer) = 0;

    /// Removes an observer. After the return it is not called any more. Waits
    /// while a frame is being delivered.
    ///
    /// @param observer  with the `stream` that it was registered with
    /// @return false when it is null or not registered
    virtual bool RemoveObserver(ICameraObserver* observer) = 0;

    /// Delivers a frame to its observers, on the calling thread. Called by the
    /// capture threads; a host may hand in frames too. A JPEG frame goes to
    /// nobody unless one was requested (CAM_PROPERTY_TRIGGER_JPEG) and uses the
    /// request up; a raw NV12 or GRAY frame gets its crop position filled in.
    ///
    /// @param data  the caller's; writable although passed as const. For NV12
    ///        and GRAY with a crop record, which may be null.
    /// @return for PCM the last observer's result, 0 without one; 0 for null;
    ///         else 1
    virtual int OnFrameArrival(const CCameraData* data) = 0;

    /// Starts streaming what is configured, by video mode or by signal type (see
    /// CAM_CAPABILITY_SIGNAL_TYPE). Blocks for some 100 ms.
    ///
    /// There is sound in recordings with CAM_SIGNAL_H264_H264_GRAY; in those with
    /// dual H.264 (on the Ferrow_A television not with a bit rate of exactly
    /// 1500000); and in those with H.264 + JPEG on the Ferrow_B television (not
    /// with that bit rate either).
    ///
    /// @return true when recording runs, and also, without any effect, in every
    ///         state but CAM_STATE_CONNECTED: ask GetState. False when a stream
    ///         could not be started; StopRecording then clears up (and returns
    ///         false), another StartRecording tries again.
    virtual bool StartRecording() = 0;

    /// Stops streaming and waits for the capture threads; after the return no
    /// observer is called, apart from what a host hands in. NV12 and GRAY
    /// observers get a final empty record. Blocks for a second or so, longer
    /// while an observer does not return. The loader thread does the same when
    /// the camera is unplugged. From inside an observer it is refused at once,
    /// because it would wait for that very observer.
    ///
    /// @return false when nothing was recording, and from inside an observer
    virtual bool StopRecording() = 0;

    /// Changes a setting, see CAM_PROPERTY for each. Property operations wait for
    /// each other and for a start or stop of recording.
    ///
    /// @param property  which
    /// @param value     read only; its use of `res` is the property's
    /// @return true when the property was applied or needs no applying; false
    ///         for null or an unsupported property, and otherwise as each
    ///         property says
    virtual bool SetProperty(CAM_PROPERTY property, CAM_PROP_VALUE* value) = 0;

    /// Reads a setting, see CAM_PROPERTY for each. Waits as SetProperty does;
    /// those that ask the camera take a control request, a second at most.
    ///
    /// @param property  which
    /// @param value     gets the answer in its `value`
    /// @return false for null, for an unsupported property (nothing is written)
    ///         and otherwise as each property says
    virtual bool GetProperty(CAM_PROPERTY property, CAM_PROP_VALUE* value) = 0;

    /// Tells what the camera can do. One of the questions has an effect, see
    /// CAM_CAPABILITY_SIGNAL_TYPE. Waits as SetProperty does.
    ///
    /// @param capability  which
    /// @return true when it is supported
    virtual bool GetCapability(CAM_CAPABILITY capability) = 0;

    /// Stores the format that the host would like. It changes nothing.
    ///
    /// @param format  not checked
    /// @return always true
    virtual bool SetStreamFormat(CAM_STR_FORMAT format) = 0;

    /// The camera's vendor, constant.
    ///
    /// @return valid as long as the camera object
    virtual const std::string& GetVendorName() { return m_vendor_name; }

    /// The camera's model, constant.
    ///
    /// @return valid as long as the camera object
    virtual const std::string& GetModelName() { return m_model_name; }

    /// Diagnostic hook without function.
    ///
    /// @param argc  ignored
    /// @param argv  ignored
    /// @return always false
    virtual bool Execute(int argc, const char** argv) = 0;

    /// Diagnostic hook without function; logs that.
    ///
    /// @return always true
    virtual bool StartTest() = 0;

    /// Diagnostic hook without function; logs that.
    ///
    /// @return always true
    virtual bool StopTest() = 0;

    /// Diagnostic hook without function; logs that.
    ///
    /// @return always true
    virtual bool PrintStatus() = 0;

protected:
    static constexpr unsigned kStreamTypes = 18;  ///< CAM_STREAM values that can be observed

    /// Per stream type; guarded by m_observer_lock. Index 0 stays empty, PCM
    /// observers have a list of their own.
    std::vector<ICameraObserver*> m_observers[kStreamTypes];
    std::atomic<CAM_STATE> m_State{CAM_STATE_CREATED};  ///< see GetState
    std::string m_vendor_name;                          ///< constant after construction
    std::string m_model_name;                           ///< constant after construction
};

#endif
