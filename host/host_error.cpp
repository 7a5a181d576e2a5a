#include "host/host_error.h"

#include <system_error>

namespace host {

HostError SystemError(const std::string& what, int error, ExitCode code)
{
    return HostError(code, what + ": " + std::generic_category().message(error));
}

}  // namespace host
