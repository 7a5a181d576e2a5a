// How far a firmware download has come.
//
// The library's download procedures return when all is done and tell nothing
// before. But every byte passes two libusb calls, and camhost, being the
// program, comes first in the dynamic loader's search order: it offers these
// two names itself, counts, and passes the call on.
#ifndef TORVIK_HOST_USB_PROGRESS_H
#define TORVIK_HOST_USB_PROGRESS_H

#include <cstdint>

namespace host {

struct DownloadState {
    std::uint32_t sent = 0;  ///< image bytes, padding of the last block included
    bool burning = false;    ///< the device writes its flash
};

DownloadState CurrentDownload();
void ResetDownload();

}  // namespace host

#endif
