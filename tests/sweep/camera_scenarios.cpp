// Scenarios with the camera object.
#include <atomic>
#include <memory>

#include "api/torvik_camera.h"
#include "tests/support/frame_collector.h"
#include "tests/sweep/scenario.h"
#include "tests/sweep/stage.h"

namespace sweep {
namespace {

using test_support::FrameCollector;

/// How long a stream that should flow may take for its next frame.
constexpr std::chrono::milliseconds kFlowLimit{10000};
/// Never an answer.
constexpr std::int32_t kUntouched = -77;
constexpr std::int32_t kVga720 = 0x02D00500;

Stage* g_stage = nullptr;

void OnInit(bool ready)
{
    g_stage->Status(ready);
}

/// A host with observers of all streams.
class Host {
public:
    explicit Host(Stage& stage) : m_stage(stage) { g_stage = &stage; }

    void Plug(vcam::Identity identity)
    {
        vcam::CameraOptions options;
        options.identity = identity;
        options.startup_time = 1000;
        options.burn_time = 0;
        options.reboot_time = 1000;
        m_stage.Plug(options);
    }

    /// True when the camera is ready.
    bool StartUp()
    {
        m_stage.Begin("start-up");
        m_camera = cam_create();
        m_camera->Init(OnInit, 0);
        m_stage.WaitForStatuses(1);
        m_stage.WaitForWatch(1);
        m_stage.End();
        if (m_stage.Statuses() != "1")
            return false;
        for (FrameCollector* observer : {&m_main, &m_sub, &m_sound, &m_jpeg, &m_gray})
            m_camera->RegisterObserver(observer);
        return true;
    }

    bool Start()
    {
        m_stage.Begin("start");
        const bool started = m_camera->StartRecording();
        m_stage.End();
        m_stage.Result("start", started);
        return started;
    }

    /// Whether two more frames come.
    void ExpectFlow(const char* when, FrameCollector& stream, const char* name)
    {
        const std::size_t wanted = stream.Count() + 2;
        // A camera that is gone sends nothing, and nobody has to wait for it.
        test_support::WaitUntil(
            [&] { return stream.Count() >= wanted || m_stage.Statuses() != "1"; }, kFlowLimit);
        m_stage.Result(std::string(name) + " flows " + when, stream.Count() >= wanted);
    }
    void ExpectFlow(const char* when)
    {
        if (m_camera->GetState() != CAM_STATE_RECORDING)
            return;
        ExpectFlow(when, m_main, "main");
        ExpectFlow(when, m_sub, "sub");
        ExpectFlow(when, m_sound, "sound");
    }
    void ExpectGray() { ExpectFlow("first", m_gray, "gray"); }

    void Set(const char* name, CAM_PROPERTY property, std::int32_t value)
    {
        CAM_PROP_VALUE record{value, {0, 0}};
        m_stage.Result(name, m_camera->SetProperty(property, &record));
    }
    void Get(const char* name, CAM_PROPERTY property)
    {
        CAM_PROP_VALUE record{kUntouched, {0, 0}};
        m_stage.Result(std::string("get ") + name, m_camera->GetProperty(property, &record));
        m_stage.Result(std::string(name) + " value", record.value);
    }

    void UseProperties()
    {
        m_camera->RegisterObserver(&m_second);  // asks for a key frame
        Set("bit rate", CAM_PROPERTY_BITRATE, 1000000);
        Set("frame rate", CAM_PROPERTY_FRAMERATE, 30);
        Set("key frame", CAM_PROPERTY_FORCE_I, 1);
        Set("zoom", CAM_PROPERTY_ZOOM, 10);
        Set("pan", CAM_PROPERTY_PAN, 2);
        Set("tilt", CAM_PROPERTY_TILT, 1);
        Set("frequency", CAM_PROPERTY_FREQUENCY, 2);
        Set("volume", CAM_PROPERTY_MICVOLUME, 50);
        Set("still", CAM_PROPERTY_TRIGGER_JPEG, 1);
        Set("user flag", CAM_PROPERTY_USER_FLAG, 3);
        Get("zoom", CAM_PROPERTY_ZOOM);
        Get("pan", CAM_PROPERTY_PAN);
        Get("status", CAM_PROPERTY_ISP_STATUS);
        Get("self-test", CAM_PROPERTY_VIDEO_AUTO_TEST);
        Get("connection", CAM_PROPERTY_CONNECTION_CHECK);
    }

    void Stop()
    {
        m_stage.WaitForUnplug();
        m_stage.Begin("stop");
        const bool stopped = m_camera->StopRecording();
        m_stage.End();
        m_stage.Result("stop", stopped);
    }

    void Destroy()
    {
        m_stage.WaitForUnplug();
        m_stage.Begin("destroy");
        cam_destroy(m_camera);
        m_stage.End();
    }

private:
    Stage& m_stage;
    ICameraSubject* m_camera = nullptr;
    FrameCollector m_main{CAM_STREAM_H264_MAIN};
    FrameCollector m_second{CAM_STREAM_H264_MAIN};
    FrameCollector m_sub{CAM_STREAM_H264_SUB};
    FrameCollector m_sound{CAM_STREAM_PCM};
    FrameCollector m_jpeg{CAM_STREAM_JPEG};
    FrameCollector m_gray{CAM_STREAM_GRAY};
};

}  // namespace

void PlayRecording(Stage& stage)
{
    Host host(stage);
    host.Plug(vcam::Identity::kCamera);
    if (host.StartUp()) {
        if (host.Start()) {
            stage.Begin("record");
            host.ExpectFlow("first");
            host.UseProperties();
            stage.End();
            host.ExpectFlow("on");
        }
        host.Stop();
    }
    host.Destroy();
}

/// Where recording is configured by signal type: dual H.264 with sound and
/// gray pictures.
void PlaySignalTypes(Stage& stage)
{
    Host host(stage);
    host.Plug(vcam::Identity::kCamera);
    if (host.StartUp()) {
        host.Set("signal type", CAM_PROPERTY_SIGNAL_TYPE, CAM_SIGNAL_H264_H264_GRAY);
        if (host.Start()) {
            stage.Begin("record");
            host.ExpectFlow("first");
            host.ExpectGray();
            host.Set("still", CAM_PROPERTY_TRIGGER_JPEG, 1);
            stage.End();
            host.ExpectFlow("on");
        }
        host.Stop();
    }
    host.Destroy();
}

void PlayRestart(Stage& stage)
{
    Host host(stage);
    host.Plug(vcam::Identity::kCamera);
    if (host.StartUp() && host.Start()) {
        host.ExpectFlow("first");
        stage.Begin("restart");
        host.Set("resolution", CAM_PROPERTY_RESOLUTION, kVga720);
        stage.End();
        host.ExpectFlow("on");
        host.Stop();
    }
    host.Destroy();
}

/// Destroyed while it records.
void PlayAbandoned(Stage& stage)
{
    Host host(stage);
    host.Plug(vcam::Identity::kCamera);
    if (host.StartUp() && host.Start())
        host.ExpectFlow("first");
    host.Destroy();
}

void PlayWatch(Stage& stage)
{
    constexpr std::size_t kQuestions = 10;
    Host host(stage);
    host.Plug(vcam::Identity::kCamera);
    if (host.StartUp() && host.Start()) {
        host.ExpectFlow("first");
        stage.Begin("watch");
        stage.WaitForMoreWatches(kQuestions);
        stage.End();
        // Until the answer to the last one was looked at.
        stage.WaitForMoreWatches(1);
        host.Stop();
    }
    host.Destroy();
}

void PlayBulkBootLoader(Stage& stage)
{
    Host host(stage);
    host.Plug(vcam::Identity::kBootLoaderBulk);
    host.StartUp();
    host.Destroy();
}

void PlayUvcBootLoader(Stage& stage)
{
    Host host(stage);
    host.Plug(vcam::Identity::kBootLoaderUvc);
    host.StartUp();
    host.Destroy();
}

}  // namespace sweep
