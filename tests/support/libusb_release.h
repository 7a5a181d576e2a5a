// Releases of libusb between which the driver has to tell.
#ifndef TESTS_SUPPORT_LIBUSB_RELEASE_H
#define TESTS_SUPPORT_LIBUSB_RELEASE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>

#include "virtual_camera/standin/bus.h"

namespace test_support {

/// Version 1.0.`micro`.`nano`.
struct LibusbRelease {
    std::uint16_t micro;
    std::uint16_t nano;
};

/// These must not be asked for an alternate setting of a device that has left
/// the bus: closing its handle then ends the process.
constexpr LibusbRelease kFragileReleases[] = {{25, 11693}, {26, 11724}};
/// These bear it, the last one because it only calls itself so.
constexpr LibusbRelease kSturdyReleases[] = {{24, 11584}, {27, 11882}, {26, 0}};
constexpr LibusbRelease kEveryRelease[] = {
    {25, 11693}, {26, 11724}, {24, 11584}, {27, 11882}, {26, 0}};

inline void Pretend(const LibusbRelease& release)
{
    vcam::standin::Bus::Instance().SetVersion(release.micro, release.nano);
}

/// For the names of parametrised tests.
inline std::string NameOf(const LibusbRelease& release)
{
    return "Libusb1_0_" + std::to_string(release.micro) + "_" + std::to_string(release.nano);
}

inline std::ostream& operator<<(std::ostream& out, const LibusbRelease& release)
{
    return out << NameOf(release);
}

struct ReleaseName {
    std::string operator()(const testing::TestParamInfo<LibusbRelease>& info) const
    {
        return NameOf(info.param);
    }
};

}  // namespace test_support

#endif
