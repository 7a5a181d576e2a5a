// The camera's firmware version, as the driver reports it to the television.
#ifndef TORVIK_HOST_VERSION_FILE_H
#define TORVIK_HOST_VERSION_FILE_H

#include <string>

namespace host {

/// "unknown" when the driver has written none.
std::string ReadVersionFile();

}  // namespace host

#endif
