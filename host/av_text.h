// libav's error numbers as text.
#ifndef TORVIK_HOST_AV_TEXT_H
#define TORVIK_HOST_AV_TEXT_H

#include <string>

namespace host {

std::string AvErrorText(int error);

}  // namespace host

#endif
