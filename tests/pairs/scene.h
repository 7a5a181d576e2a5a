// A host, its camera object and its camera, with the gate in the way of one
// operation. Lives in a process of its own.
#ifndef TESTS_PAIRS_SCENE_H
#define TESTS_PAIRS_SCENE_H

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "api/camera_subject.h"
#include "tests/pairs/callers.h"
#include "tests/pairs/gate.h"
#include "tests/pairs/operation.h"
#include "tests/pairs/task_files.h"
#include "tests/support/camera_library.h"
#include "tests/support/frame_collector.h"
#include "tests/support/sleeps.h"
#include "virtual_camera/model/camera_model.h"

namespace pairs {

class Scene {
public:
    using Complain = std::function<void(const std::string&)>;

    /// The gate holds whoever comes to this step of `held`. `complain` takes
    /// what is wrong, from any thread.
    Scene(From from, Name held, std::size_t step, Complain complain);
    ~Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    /// Makes the camera object and brings it to where the pair begins.
    void Prepare();
    /// The steps of `held`, which the calling thread runs, count from here on.
    void Arm();

    /// @name For operations
    /// @{
    ICameraSubject& Camera() { return *m_camera.load(); }
    void Init() { Camera().Init(OnInit, 0); }
    /// The next call-back that says "not ready" calls Init again.
    void AllowRetry() { ++m_retries; }
    void Unplug();
    void Replug() { m_model->Replug(); }
    /// A second device, beside the camera.
    void PlugInBootLoader();
    bool SetNewResolution();
    /// Nothing of the library may run when it has returned.
    void Destroy();
    /// Runs a host thread; its id.
    pid_t Launch(std::function<void()> body);
    /// Until the host thread waits for something or is through.
    void WaitUntilWaiting(pid_t host);
    /// @}

    Gate& TheGate() { return m_gate; }
    const Callers& Threads() const { return m_callers; }
    From Began() const { return m_from; }
    unsigned LoadersBefore() const { return m_loaders_before; }
    bool Retried() const { return m_retried; }
    /// The camera that was there has left.
    bool Lost() const { return m_lost; }
    /// And a loader's watch was told so.
    bool LossSeen() const { return m_loss_seen; }
    bool Destroyed() const { return m_destroyed; }
    bool HostFinished(pid_t host) const;
    /// What was told to the call-back since Prepare: '1' ready, '0' not.
    std::string Outcomes() const;
    std::size_t Frames() const { return m_frames.Count(); }
    bool WaitForFrames(std::size_t more);
    void JoinHosts();

    /// Host threads are through, and loaders have ended or watch a camera that
    /// answers. Whoever is held does not count; nor does who waits, if that will
    /// do. To be asked from one thread again and again; Calm begins anew.
    bool IsCalm(bool waiting_will_do);
    void BeginCalm() { m_answers.clear(); }

    /// With a camera plugged in, a new camera object gets ready.
    void TryAnotherObject();
    /// What libusb has open beyond what the driver leaves on purpose; or empty.
    std::string LeftOpen() const;

private:
    static void OnInit(bool ready);
    void CallBack(bool ready);
    void Step(const std::string& where);
    void PlugInForRetry();
    void Before(const Call& call, const Caller& who);
    void After(const Call& call, const Caller& who);
    bool Counts(const Call& call, const Caller& who) const;
    void Create();
    void InitAndWait();
    bool StrangersAreCalm(const std::vector<Caller>& known, bool waiting_will_do);

    const From m_from;
    const Name m_held;
    const Complain m_complain;
    const test_support::FastSleeps m_sleeps;
    Gate m_gate;
    test_support::CameraLibrary m_library;
    std::shared_ptr<vcam::CameraModel> m_model;
    test_support::FrameCollector m_frames{CAM_STREAM_H264_MAIN};
    test_support::FrameCollector m_sound{CAM_STREAM_PCM};

    std::atomic<ICameraSubject*> m_camera{nullptr};
    std::atomic<bool> m_armed{false};
    std::atomic<pid_t> m_held_host{0};
    std::atomic<unsigned> m_loaders_before{0};
    std::atomic<int> m_retries{0};
    std::atomic<unsigned> m_resolutions{0};
    std::atomic<bool> m_retried{false};
    std::atomic<bool> m_lost{false};
    std::atomic<bool> m_loss_seen{false};
    std::atomic<bool> m_destroyed{false};
    std::atomic<bool> m_called_late{false};

    /// @name Of the thread that drives the scene
    /// @{
    std::vector<pid_t> m_tasks_before;
    SleepWatch m_sleep_watch;
    std::map<pid_t, unsigned> m_answers;
    std::map<pid_t, unsigned> m_strangers;  ///< how often each was seen asleep
    /// @}

    mutable std::mutex m_mutex;  // a leaf; guards everything below
    std::string m_outcomes;
    std::vector<std::thread> m_hosts;
    std::vector<const void*> m_loader_handles;
    int m_contexts_left = 0;  ///< by openings that failed, on purpose
    int m_handles_left = 0;   ///< the same, each with its device list

    Callers m_callers;  ///< last: it calls the others
};

}  // namespace pairs

#endif
