// How camhost fails: one line for the person, one number for the script.
#ifndef TORVIK_HOST_HOST_ERROR_H
#define TORVIK_HOST_HOST_ERROR_H

#include <stdexcept>
#include <string>

namespace host {

enum ExitCode : int {
    kExitOk = 0,
    kExitFailed = 1,    ///< the camera or the machine refused: full disk, failed set, failed test
    kExitUsage = 2,     ///< a name or a value that does not exist
    kExitNoCamera = 3,  ///< no library, or no camera behind it
};

class HostError : public std::runtime_error {
public:
    HostError(ExitCode code, const std::string& message)
        : std::runtime_error(message), m_code(code)
    {
    }
    ExitCode code() const { return m_code; }

private:
    ExitCode m_code;
};

/// `what` followed by the text of the system's error number.
HostError SystemError(const std::string& what, int error, ExitCode code = kExitFailed);

}  // namespace host

#endif
