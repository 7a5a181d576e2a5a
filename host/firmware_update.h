// One firmware download with a bar that fills.
#ifndef TORVIK_HOST_FIRMWARE_UPDATE_H
#define TORVIK_HOST_FIRMWARE_UPDATE_H

#include <cstddef>
#include <functional>

#include "host/console.h"
#include "host/wake_pipe.h"

namespace host {

/// Runs `download` on a thread of its own and shows its progress: a bar on a
/// terminal, a line for every tenth elsewhere. Returns its result. A download
/// cannot be stopped half-way without leaving the device useless, so Ctrl-C
/// only says so.
int ShowDownload(Console& console, WakePipe& events, std::size_t imageBytes,
                 const std::function<int()>& download);

}  // namespace host

#endif
