// A camera library without a camera: real media, no USB, no start-up time. It
// lets the host program's tests ask for moments that a device rarely gives.
//
// FAKE_CAMERA holds words: "absent" (no device), "jump" (a time stamp jumps
// once), "unplug" (the device goes after a second), "silent" (no frames),
// "mute" (no microphone), "late-sound" (the microphone starts 400 ms later).
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "api/torvik_camera.h"

namespace {

using Clock = std::chrono::steady_clock;
using Bytes = std::vector<unsigned char>;

bool Wants(const char* word)
{
    const char* words = std::getenv("FAKE_CAMERA");
    return words != nullptr && std::string(words).find(word) != std::string::npos;
}

Bytes ReadFile(const std::string& name)
{
    std::ifstream file(std::string(FAKE_CAMERA_MEDIA) + "/" + name, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

/// Cuts a byte stream before each 4-byte start code.
std::vector<Bytes> Units(const Bytes& data)
{
    std::vector<Bytes> units;
    for (std::size_t i = 0; i < data.size(); ++i) {
        const bool start = i + 3 < data.size() && data[i] == 0 && data[i + 1] == 0 &&
                           data[i + 2] == 0 && data[i + 3] == 1;
        if (start || units.empty()) {
            units.emplace_back();
        }
        units.back().push_back(data[i]);
    }
    return units;
}

bool IsParameterSet(const Bytes& unit)
{
    const int type = unit[4] & 0x1F;
    return type == 7 || type == 8;
}

/// The next picture with the parameter sets before it, as the sub stream comes.
Bytes NextWhole(const std::vector<Bytes>& units, std::size_t& index)
{
    Bytes whole;
    bool more = true;
    while (more) {
        const Bytes& unit = units[index];
        whole.insert(whole.end(), unit.begin(), unit.end());
        more = IsParameterSet(unit);
        index = (index + 1) % units.size();
    }
    return whole;
}

class FakeCamera : public ICameraSubject {
public:
    FakeCamera() { m_model_name = "FAKE"; }
    ~FakeCamera() override
    {
        StopRecording();
        if (m_loader.joinable()) {
            m_loader.join();
        }
    }

    void Init(void (*callback)(bool), int) override
    {
        const bool there = !Wants("absent");
        SetState(there ? CAM_STATE_CONNECTED : CAM_STATE_DISCONNECTED);
        m_callback = callback;
        m_loader = std::thread([callback, there] { callback(there); });
    }
    bool RegisterObserver(ICameraObserver* observer) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_observers[observer->stream].push_back(observer);
        return true;
    }
    bool RemoveObserver(ICameraObserver* observer) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_observers[observer->stream].clear();
        return true;
    }
    int OnFrameArrival(const CCameraData* data) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (ICameraObserver* observer : m_observers[data->stream_type]) {
            observer->OnFrame(data);
        }
        return 1;
    }
    bool StartRecording() override
    {
        SetState(CAM_STATE_RECORDING);
        m_stop = false;
        m_begin = Clock::now();
        if (!Wants("silent")) {
            m_video = std::thread([this] { PlayVideo(); });
            if (!Wants("mute")) {
                m_audio = std::thread([this] { PlayAudio(); });
            }
        }
        return true;
    }
    bool StopRecording() override
    {
        m_stop = true;
        for (std::thread* thread : {&m_video, &m_audio}) {
            if (thread->joinable()) {
                thread->join();
            }
        }
        return true;
    }
    bool SetProperty(CAM_PROPERTY property, CAM_PROP_VALUE* value) override
    {
        m_still_wanted = m_still_wanted || property == CAM_PROPERTY_TRIGGER_JPEG;
        if (property == CAM_PROPERTY_MICVOLUME) {
            m_volume = value->value;
        }
        return property != CAM_PROPERTY_SIGNAL_TYPE && property != CAM_PROPERTY_USER_FLAG;
    }
    bool GetProperty(CAM_PROPERTY property, CAM_PROP_VALUE* value) override
    {
        value->value = property == CAM_PROPERTY_MICVOLUME ? m_volume : 0;
        return true;
    }
    bool GetCapability(CAM_CAPABILITY capability) override
    {
        return capability == CAM_CAPABILITY_SIGNAL_TYPE;
    }
    bool SetStreamFormat(CAM_STR_FORMAT) override { return true; }
    bool Execute(int, const char**) override { return false; }
    bool StartTest() override { return true; }
    bool StopTest() override { return true; }
    bool PrintStatus() override { return true; }

private:
    std::uint32_t Stamp() const
    {
        return static_cast<std::uint32_t>(
            std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - m_begin).count() *
            9 / 100);
    }
    void Send(CAM_STREAM stream, Bytes data, std::uint32_t stamp)
    {
        CCameraData record = {};
        record.data = data.data();
        record.size = static_cast<std::uint32_t>(data.size());
        record.timestamp = stamp;
        record.stream_type = stream;
        OnFrameArrival(&record);
    }
    void PlayVideo()
    {
        const std::vector<Bytes> units = Units(ReadFile("h264_320x240_30fps_250k.h264"));
        const std::vector<Bytes> subUnits = Units(ReadFile("h264_320x240_15fps_150k.h264"));
        std::size_t subIndex = 0;
        const Bytes still = ReadFile("still_640x480_0.jpg");
        std::uint32_t jump = 0;
        int frame = 0;
        for (std::size_t i = 0; !m_stop; i = (i + 1) % units.size()) {
            // Parameter sets come as pieces of their own on the main stream.
            const std::uint32_t stamp = Stamp() + jump;
            Send(CAM_STREAM_H264_MAIN, units[i], stamp);
            if (IsParameterSet(units[i])) {
                continue;
            }
            if (frame % 2 == 0) {
                Send(CAM_STREAM_GRAY, Bytes(320 * 240, 128), 0);
                Send(CAM_STREAM_H264_SUB, NextWhole(subUnits, subIndex), stamp);
            }
            if (m_still_wanted.exchange(false)) {
                Send(CAM_STREAM_JPEG, still, 0);
            }
            ++frame;
            if (frame == 20 && Wants("jump")) {
                jump = 386547056;  // 71.6 minutes
            }
            if (frame == 30 && Wants("unplug")) {
                SetState(CAM_STATE_DISCONNECTED);
                m_callback(false);
                return;
            }
            const auto next = std::chrono::microseconds(frame * std::int64_t{1000000} / 30);
            std::this_thread::sleep_until(m_begin + next);
        }
        Send(CAM_STREAM_GRAY, {}, 0);
    }
    void PlayAudio()
    {
        const auto begin =
            m_begin + std::chrono::milliseconds(Wants("late-sound") ? 400 : 0);
        for (int block = 1; !m_stop; ++block) {
            std::this_thread::sleep_until(begin + std::chrono::milliseconds(block * 10));
            Bytes pcm;
            for (int i = 0; i < 240; ++i) {
                const double angle = (block * 240 + i) * 440 * 6.283185307 / 24000;
                const auto sample = static_cast<std::uint16_t>(std::lround(8000 * std::sin(angle)));
                for (int channel = 0; channel < 2; ++channel) {
                    pcm.push_back(static_cast<unsigned char>(sample & 0xFF));
                    pcm.push_back(static_cast<unsigned char>(sample >> 8));
                }
            }
            Send(CAM_STREAM_PCM, std::move(pcm), Stamp());
        }
    }

    void (*m_callback)(bool) = nullptr;
    std::mutex m_mutex;  ///< guards the observer lists
    std::atomic<bool> m_stop{true};
    std::atomic<bool> m_still_wanted{false};
    std::int32_t m_volume = 30;
    Clock::time_point m_begin;
    std::thread m_loader, m_video, m_audio;
};

}  // namespace

ICameraSubject* cam_create()
{
    return new FakeCamera;
}

int cam_version()
{
    return 138;
}

void cam_destroy(ICameraSubject* camera)
{
    delete camera;
}
