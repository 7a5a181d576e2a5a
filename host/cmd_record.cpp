// camhost record
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <list>
#include <optional>

#include "host/camera_session.h"
#include "host/commands.h"
#include "host/frame_list.h"
#include "host/frame_observer.h"
#include "host/host_error.h"
#include "host/observer_set.h"
#include "host/progress.h"
#include "host/property_table.h"
#include "host/recording_writer.h"

namespace host {
namespace {

constexpr std::int64_t kFirstPictureLimitUs = 15000000;
constexpr std::int64_t kStillRetryUs = 2000000;
/// The end is seen in the pictures; this long after it, the clock decides.
constexpr std::int64_t kGraceUs = 1000000;

/// Everything named on the command line, checked before the camera is touched.
struct Setup {
    const SignalInfo* signal = nullptr;
    std::list<std::pair<const PropertyInfo*, CAM_PROP_VALUE>> properties;
    WriterOptions writer;
};

Setup CheckOptions(const RecordOptions& options)
{
    Setup setup;
    if (!(options.seconds > 0) || options.seconds > 1e6) {
        throw HostError(kExitUsage, "bad --seconds: expected a positive number");
    }
    if (!options.signal_type.empty()) {
        setup.signal = &SignalByName(options.signal_type);
    }
    const std::pair<const char*, const std::string*> wishes[] = {
        {"resolution", &options.size},
        {"bitrate", &options.bitrate},
        {"framerate", &options.fps},
        {"mic-volume", &options.mic_volume},
    };
    for (const auto& [name, text] : wishes) {
        if (!text->empty()) {
            const PropertyInfo& property = PropertyByName(name);
            setup.properties.emplace_back(&property, ParsePropertyValue(property, {*text}));
        }
    }
    if (!options.raw_size.empty()) {
        const Pair pair = ParsePair(options.raw_size, "--raw-size");
        setup.writer.raw_size = {pair.first, pair.second};
    }
    setup.writer.folder = options.out;
    setup.writer.lengthUs = static_cast<std::int64_t>(options.seconds * 1e6);
    return setup;
}

void PrepareFolder(const std::string& folder)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        throw SystemError("cannot make the folder " + folder, error.value());
    }
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        throw SystemError("cannot write into " + folder, errno);
    }
}

void Configure(ICameraSubject& camera, Setup& setup, Console& console)
{
    if (camera.GetCapability(CAM_CAPABILITY_SIGNAL_TYPE)) {
        const CAM_SIGNAL_TYPE type =
            setup.signal != nullptr ? setup.signal->type : CAM_SIGNAL_H264_H264_GRAY;
        CAM_PROP_VALUE value = {static_cast<std::int32_t>(type), {0, 0}};
        // Before recording the value is taken over, yet the call reports
        // failure, so its answer says nothing.
        camera.SetProperty(CAM_PROPERTY_SIGNAL_TYPE, &value);
        setup.writer.main_expected = kSignals[type].main;
    } else if (setup.signal != nullptr) {
        throw HostError(kExitUsage,
                        "--signal-type does not apply: this platform is configured by video mode");
    }
    for (auto& [property, value] : setup.properties) {
        CAM_PROP_VALUE now = {0, {0, 0}};
        if (!camera.SetProperty(property->id, &value) &&
            !(camera.GetProperty(property->id, &now) && now.value == value.value)) {
            console.Line(std::string("note: the camera refused ") + property->name + " " +
                         PropertyValueText(*property, value.value));
        }
    }
}

/// What the driver asks of the encoders.
void SetFrameRates(ICameraSubject& camera, const std::string& platform, WriterOptions& writer)
{
    CAM_PROP_VALUE value = {0, {0, 0}};
    if (camera.GetProperty(CAM_PROPERTY_FRAMERATE, &value) && value.value > 0) {
        writer.main_fps = static_cast<unsigned>(value.value);
    }
    writer.sub_fps = platform == "ferrow_a" ? 30 : 15;
}

/// Asks for a still once the recording runs well, again when none comes.
class StillTrigger {
public:
    StillTrigger(ICameraSubject& camera, bool wanted, std::int64_t lengthUs)
        : m_camera(camera), m_wanted(wanted), m_delay(std::min<std::int64_t>(lengthUs / 2, 1000000))
    {
    }
    void Update(const WriterState& state)
    {
        const std::int64_t now = MonotonicUs();
        if (!m_wanted || !state.started || now - state.origin_us < m_delay ||
            now - m_last < kStillRetryUs || state.streams.count(CAM_STREAM_JPEG) != 0) {
            return;
        }
        m_last = now;
        CAM_PROP_VALUE value = {1, {0, 0}};
        m_camera.SetProperty(CAM_PROPERTY_TRIGGER_JPEG, &value);
    }

private:
    ICameraSubject& m_camera;
    const bool m_wanted;
    const std::int64_t m_delay;
    std::int64_t m_last = 0;
};

enum class End { kComplete, kInterrupted, kUnplugged, kNoPicture };

End Watch(WakePipe& events, RecordingWriter& writer, StillTrigger& still, RecordProgress& progress,
          std::int64_t lengthUs)
{
    const std::int64_t begin = MonotonicUs();
    for (;;) {
        const Event event = events.Wait(std::chrono::milliseconds(100));
        const WriterState state = writer.State();
        progress.Update(state);
        const std::int64_t now = MonotonicUs();
        if (event == Event::kInterrupt) {
            return End::kInterrupted;
        }
        if (event == Event::kLost) {
            return End::kUnplugged;
        }
        if (event == Event::kWriter || state.complete ||
            (state.started && now - state.origin_us > lengthUs + kGraceUs)) {
            return End::kComplete;  // a writer that failed reports when it is finished
        }
        if (!state.started && now - begin > kFirstPictureLimitUs) {
            return End::kNoPicture;
        }
        still.Update(state);
    }
}

int Report(Console& console, End end, const std::list<FrameObserver>& observers,
           const WriterState& state, const RecordOptions& options)
{
    if (end == End::kNoPicture) {
        throw HostError(kExitFailed, "the camera sends no pictures");
    }
    console.Text(RecordTable(observers, state));
    if (state.stamp_jumps != 0) {
        console.Line("note: " + std::to_string(state.stamp_jumps) +
                     " time stamps jumped; arrival times were used there");
    }
    if (!options.no_still && state.streams.count(CAM_STREAM_JPEG) == 0) {
        console.Line("note: no still picture came");
    }
    if (end == End::kInterrupted) {
        console.Line("stopped early, as asked");
    }
    if (end == End::kUnplugged) {
        throw HostError(kExitNoCamera,
                        "the camera was unplugged; what was recorded is in " + options.out);
    }
    return kExitOk;
}

}  // namespace

int RunRecord(Host& host, const RecordOptions& options)
{
    Setup setup = CheckOptions(options);
    PrepareFolder(options.out);
    const Library& library = host.Lib();
    host.console.Line("starting the camera ...");

    std::optional<FrameList> list;
    if (!options.frame_list.empty()) {
        list.emplace(options.frame_list);
    }
    FrameQueue queue;
    ObserverSet observers(queue, list ? &*list : nullptr);
    CameraSession session(library);
    session.MustOpen(host.events);
    Configure(session.Camera(), setup, host.console);
    SetFrameRates(session.Camera(), host.Platform(), setup.writer);
    RecordingWriter writer(queue, setup.writer);
    observers.Register(session.Camera());
    if (!session->StartRecording() || session->GetState() != CAM_STATE_RECORDING) {
        throw HostError(kExitFailed, "the camera does not start recording");
    }
    StillTrigger still(session.Camera(), !options.no_still, setup.writer.lengthUs);
    RecordProgress progress(host.console, observers.List(), options.seconds);
    const End end = Watch(host.events, writer, still, progress, setup.writer.lengthUs);
    session->StopRecording();
    observers.Remove(session.Camera());
    writer.Finish();
    if (list) {
        list->Close();
    }
    return Report(host.console, end, observers.List(), writer.State(), options);
}

}  // namespace host
