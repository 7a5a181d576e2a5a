// Vendor requests: face detection and firmware download.
#include <algorithm>

#include "virtual_camera/model/camera_model.h"
#include "virtual_camera/model/control_request.h"

namespace vcam {
namespace {

enum VendorRequest : std::uint8_t { kFacePositions = 1, kFaceParameters = 2 };

constexpr std::size_t kFaceParametersSize = 32, kMostFaces = 10;

}  // namespace

bool CameraModel::IsBurn(const SetupPacket& setup, const unsigned char* data)
{
    if (setup.request_type == kVendorDevice)
        return Flash::IsBurn(setup.request);
    return (setup.request_type == kClassDevice || setup.request_type == kClassInterface) &&
           setup.request == kSetCur && High(setup.index) == kExtensionUnit &&
           High(setup.value) == CommandUnit::kIndicator && setup.length == 8 && data[0] == 1 &&
           data[1] == 1 && data[2] == 3;
}

bool CameraModel::Burn(std::uint8_t request, std::uint64_t size)
{
    const bool loader = m_identity != Identity::kCamera;
    switch (m_flash.Burn(request, size, loader)) {
        case Flash::Outcome::kRefused:
            return false;
        case Flash::Outcome::kBurnt:
            return true;
        case Flash::Outcome::kBurntAndReboots:
            break;
    }
    m_leaving = true;
    if (!m_flash.Firmware().empty())
        m_identity = Identity::kCamera;
    return true;
}

TransferResult CameraModel::AnswerVendor(const SetupPacket& setup, unsigned char* data)
{
    const std::uint64_t size = setup.value | std::uint64_t{setup.index} << 16;
    if ((setup.request_type & kDirectionIn) != 0) {
        if (setup.request != kFacePositions || m_identity != Identity::kCamera)
            return Stall();
        return Reply(setup, data, FaceReply());
    }
    if (m_identity == Identity::kBootLoaderUvc)
        return Stall();
    if (setup.request == kFaceParameters && m_identity == Identity::kCamera) {
        if (setup.length != kFaceParametersSize)
            return Stall();
        m_face_parameters.assign(data, data + setup.length);
    } else if (setup.request == Flash::kAnnounce) {
        m_flash.BeginAnnounced(size);
    } else if (setup.request == Flash::kChecksum) {
        if (!m_flash.CheckSum(data, setup.length))
            return Stall();
    } else if (Flash::IsBurn(setup.request)) {
        if (!Burn(setup.request, size))
            return Stall();
        if (m_leaving)
            return {TransferStatus::kNoDevice, 0, kNever};
    } else {
        return Stall();
    }
    return Moved(setup.length);
}

Bytes CameraModel::FaceReply() const
{
    Bytes reply{m_face_count ? *m_face_count : static_cast<std::uint8_t>(m_faces.size())};
    for (std::size_t i = 0; i < std::min(m_faces.size(), kMostFaces); ++i)
        for (const std::uint16_t value : m_faces[i]) Append(reply, value, 2);
    reply.resize(1 + kMostFaces * 8);
    return reply;
}

}  // namespace vcam
