#include "virtual_camera/vhci/test_commands.h"

#include <algorithm>
#include <chrono>
#include <iomanip>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "virtual_camera/model/report.h"

namespace vcam::vhci
{
namespace
{

/// What one command line says after its name.
class Words
{
public:
    explicit Words(const std::string& line) : m_words(line) { m_words >> m_name; }
    const std::string& Name() const { return m_name; }
    std::uint64_t Number(std::uint64_t otherwise)
    {
        std::string word;
        return m_words >> word ? Parse(word) : otherwise;
    }
    std::uint64_t Number()
    {
        std::string word;
        if (!(m_words >> word))
            throw std::invalid_argument(m_name + ": a number is missing");
        return Parse(word);
    }

private:
    std::uint64_t Parse(const std::string& word) const
    {
        std::size_t used = 0;
        std::uint64_t number = 0;
        try {
            number = std::stoull(word, &used, 0);
        } catch (const std::logic_error&) {
            used = 0;
        }
        if (used != word.size() || word.empty())
            throw std::invalid_argument(m_name + ": not a number: " + word);
        return number;
    }

    std::istringstream m_words;
    std::string m_name;
};

/// stream container number size digest key whole
std::string Frames(CameraModel& camera, Words&, const std::string&)
{
    std::ostringstream out;
    for (const SentFrame& frame : camera.Frames())
        out << static_cast<unsigned>(frame.stream) << ' ' << frame.container << ' ' << frame.number
            << ' ' << frame.size << ' ' << frame.digest << ' ' << frame.key << ' ' << frame.whole
            << '\n';
    return out.str();
}

/// type request value index length status bytes, all but the status in hex
std::string Requests(CameraModel& camera, Words&, const std::string&)
{
    std::ostringstream out;
    for (const ControlRecord& record : camera.Requests()) {
        const SetupPacket& setup = record.setup;
        out << std::hex << unsigned{setup.request_type} << ' ' << unsigned{setup.request} << ' '
            << setup.value << ' ' << setup.index << ' ' << setup.length << ' ' << std::dec
            << static_cast<int>(record.status) << ' ' << std::hex << std::setfill('0');
        for (const std::uint8_t byte : record.data) out << std::setw(2) << unsigned{byte};
        out << std::dec << '\n';
    }
    return out.str();
}

std::string State(CameraModel& camera, Words&, const std::string&)
{
    const ControllerState controller = camera.Controller();
    std::ostringstream out;
    out << "video-streaming " << camera.VideoStreaming() << '\n'
        << "audio-streaming " << camera.AudioStreaming() << '\n'
        << "audio-rate " << camera.AudioRate() << '\n'
        << "containers " << camera.Containers() << '\n'
        << "format " << unsigned{camera.Committed().format} << '\n'
        << "frame " << unsigned{camera.Committed().frame} << '\n'
        << "key-requests " << controller.key_requests << '\n'
        << "led " << controller.led << '\n'
        << "requests " << camera.RequestCount() << '\n';
    return out.str();
}

std::string Faults(CameraModel& camera, Words&, const std::string& body)
{
    camera.AddFaults(body);
    return {};
}

std::string ControlValue(CameraModel& camera, Words& words, const std::string&)
{
    const auto entity = static_cast<std::uint8_t>(words.Number());
    const auto selector = static_cast<std::uint8_t>(words.Number());
    return std::to_string(camera.ControlValue(
        entity, selector, static_cast<std::size_t>(words.Number(0)))) + '\n';
}

std::string UnplugFor(CameraModel& camera, Words& words, const std::string&)
{
    camera.UnplugFor(std::chrono::milliseconds(words.Number()));
    return {};
}

struct CommandRow {
    const char* name;
    std::string (*run)(CameraModel& camera, Words& words, const std::string& body);
};

constexpr CommandRow kCommands[] = {
    {"report", [](CameraModel& camera, Words&, const std::string&) { return MakeReport(camera); }},
    {"state", State},
    {"frames", Frames},
    {"requests", Requests},
    {"control-value", ControlValue},
    {"clear-traffic",
     [](CameraModel& camera, Words&, const std::string&) {
         camera.ClearTraffic();
         return std::string();
     }},
    {"faults", Faults},
    {"clear-faults",
     [](CameraModel& camera, Words&, const std::string&) {
         camera.ClearFaults();
         return std::string();
     }},
    {"container-limit",
     [](CameraModel& camera, Words& words, const std::string&) {
         camera.SetContainerLimit(words.Number());
         return std::string();
     }},
    {"audio-limit",
     [](CameraModel& camera, Words& words, const std::string&) {
         camera.SetAudioLimit(words.Number());
         return std::string();
     }},
    {"unplug",
     [](CameraModel& camera, Words&, const std::string&) {
         camera.Unplug();
         return std::string();
     }},
    {"unplug-for", UnplugFor},
    {"replug",
     [](CameraModel& camera, Words&, const std::string&) {
         camera.Replug();
         return std::string();
     }},
};

}  // namespace

std::string RunCommand(CameraModel& camera, const std::string& line, const std::string& body)
{
    Words words(line);
    const auto found =
        std::find_if(std::begin(kCommands), std::end(kCommands),
                     [&words](const CommandRow& row) { return words.Name() == row.name; });
    if (found == std::end(kCommands))
        throw std::invalid_argument("no such command: " + words.Name());
    return found->run(camera, words, body);
}

}  // namespace vcam::vhci
