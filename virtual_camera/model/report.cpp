#include "virtual_camera/model/report.h"

#include <iomanip>
#include <sstream>

namespace vcam {
namespace {

constexpr std::array<const char*, kStreams> kStreamNames{
    {"main", "sub", "jpeg", "gray", "nv12", "nv21", "yuy2", "pcm"}};

}  // namespace

std::string MakeReport(const CameraModel& camera)
{
    std::ostringstream out;
    for (std::size_t i = 0; i < kStreams; ++i) {
        const StreamTotals totals = camera.Totals(static_cast<Stream>(i));
        out << "stream " << kStreamNames[i] << " frames " << totals.frames << " bytes "
            << totals.bytes << " spoiled " << totals.spoiled << " digest " << std::hex
            << std::setw(16) << std::setfill('0') << totals.digest << std::dec << '\n';
    }
    const ControllerState state = camera.Controller();
    out << "identity " << (camera.CurrentIdentity() == Identity::kCamera ? "camera" : "boot-loader")
        << '\n'
        << "requests " << camera.RequestCount() << '\n'
        << "signal-type " << unsigned{camera.SignalType()} << '\n'
        << "video-options " << state.video_options << '\n'
        << "led " << state.led << '\n'
        << "key-requests " << state.key_requests << '\n'
        << "still-requests " << state.still_requests << '\n'
        << "bit-rate " << state.bit_rate[0] << ' ' << state.bit_rate[1] << '\n'
        << "frame-rate " << state.frame_rate[0] << ' ' << state.frame_rate[1] << '\n';
    const Controls controls{CameraOptions{}};
    for (const ControlRow& row : controls.Rows()) {
        out << "control " << row.name << ':';
        for (std::size_t field = 0; field < row.fields; ++field)
            out << ' ' << camera.ControlValue(row.entity, row.selector, field);
        out << '\n';
    }
    const DownloadFacts download = camera.Download();
    out << "download begun " << download.begun << " burnt " << download.burnt << " refused "
        << download.refused << " blocks " << download.blocks << " bytes " << download.received
        << '\n';
    return out.str();
}

}  // namespace vcam
