// A list of every frame that the driver handed over, for comparing it with
// what a camera sent.
#ifndef TORVIK_HOST_FRAME_LIST_H
#define TORVIK_HOST_FRAME_LIST_H

#include <cstdint>
#include <fstream>
#include <map>
#include <mutex>
#include <string>

#include "api/camera_data.h"

namespace host {

/// One line a frame: stream, stamp, size, digest. The digest is the 64-bit
/// FNV-1a of everything with that stamp so far, because a key frame may come
/// in pieces.
class FrameList {
public:
    /// Throws when the file cannot be made.
    explicit FrameList(const std::string& path);

    /// Called by all capture threads.
    void Add(const char* stream, const CCameraData& data);
    /// Throws when something could not be written.
    void Close();

private:
    struct Last {
        std::uint32_t stamp = 0;
        std::uint64_t digest = 0;
        bool any = false;
    };

    const std::string m_path;
    std::mutex m_mutex;  ///< guards all below
    std::ofstream m_file;
    std::map<std::uint32_t, Last> m_last;  ///< of each H.264 stream
};

}  // namespace host

#endif
