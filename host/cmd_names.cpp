// camhost names: feeds the shell's completion, so that it never goes stale.
#include "host/commands.h"
#include "host/host_error.h"
#include "host/name_list.h"
#include "host/platforms.h"
#include "host/property_table.h"
#include "host/streams.h"

namespace host {

int RunNames(Host& host, const std::string& kind)
{
    if (kind == "properties" || kind == "readable" || kind == "settable") {
        for (const PropertyInfo& property : Properties()) {
            if ((kind != "settable" || property.settable) &&
                (kind != "readable" || property.reading != Reading::kNever)) {
                host.console.Line(property.name);
            }
        }
    } else if (kind == "signals") {
        for (const SignalInfo& signal : kSignals) {
            host.console.Line(signal.name);
        }
    } else if (kind == "platforms") {
        for (const Platform& platform : Platforms()) {
            host.console.Line(platform.name);
        }
    } else {
        throw HostError(kExitUsage, "no names of kind '" + kind + "'");
    }
    return kExitOk;
}

}  // namespace host
