#include "host/streams.h"

#include "host/host_error.h"
#include "host/name_list.h"

namespace host {

const SignalInfo& SignalByName(const std::string& name)
{
    for (const SignalInfo& signal : kSignals) {
        if (SameName(name, signal.name)) {
            return signal;
        }
    }
    throw HostError(kExitUsage, "unknown signal type '" + name + "'; known are " +
                                    JoinNames(kSignals, [](const auto& s) { return s.name; }));
}

}  // namespace host
