// The televisions that the driver tells apart, by name.
#ifndef TORVIK_HOST_PLATFORMS_H
#define TORVIK_HOST_PLATFORMS_H

#include <string>
#include <vector>

namespace host {

struct Platform {
    const char* name;
    /// First bytes of the television's information file; the driver looks at
    /// bytes 2, 4, 5 and 6.
    const char* info;
};

const std::vector<Platform>& Platforms();
/// Throws a usage error that lists the names.
const Platform& PlatformByName(const std::string& name);

}  // namespace host

#endif
