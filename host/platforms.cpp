#include "host/platforms.h"

#include "host/host_error.h"
#include "host/name_list.h"

namespace host {

const std::vector<Platform>& Platforms()
{
    static const std::vector<Platform> platforms = {
        {"brevan", "-----12-"},   // bytes 5, 6: "12", configured by signal type
        {"calder", "-----10-"},   // bytes 5, 6: "10", dual H.264
        {"dorsin", "--E-P---"},   // byte 2 'E', byte 4 'P'
        {"ferrow_a", "----P---"},  // byte 4 'P'
        {"ferrow_b", "----S---"},  // byte 4 'S', no sub stream
    };
    return platforms;
}

const Platform& PlatformByName(const std::string& name)
{
    for (const Platform& platform : Platforms()) {
        if (SameName(name, platform.name)) {
            return platform;
        }
    }
    throw HostError(kExitUsage, "unknown platform '" + name + "'; known are " +
                                    JoinNames(Platforms(), [](const auto& p) { return p.name; }));
}

}  // namespace host
