#include "host/frame_list.h"

#include <cerrno>
#include <iomanip>

#include "host/host_error.h"

namespace host {
namespace {

constexpr std::uint64_t kDigestStart = 0xCBF29CE484222325u;

std::uint64_t Digest(const unsigned char* data, std::size_t size, std::uint64_t digest)
{
    for (std::size_t i = 0; i < size; ++i) {
        digest = (digest ^ data[i]) * 0x100000001B3u;
    }
    return digest;
}

bool HasStamp(std::uint32_t stream)
{
    return stream == CAM_STREAM_PCM || stream == CAM_STREAM_H264_MAIN ||
           stream == CAM_STREAM_H264_SUB;
}

}  // namespace

FrameList::FrameList(const std::string& path) : m_path(path), m_file(path)
{
    if (!m_file) {
        throw SystemError("cannot write " + path, errno);
    }
}

void FrameList::Add(const char* stream, const CCameraData& data)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    const std::uint32_t stamp = HasStamp(data.stream_type) ? data.timestamp : 0;
    std::uint64_t digest = kDigestStart;
    if (data.stream_type == CAM_STREAM_H264_MAIN || data.stream_type == CAM_STREAM_H264_SUB) {
        Last& last = m_last[data.stream_type];
        if (last.any && last.stamp == stamp) {
            digest = last.digest;
        }
        digest = Digest(data.data, data.size, digest);
        last = {stamp, digest, true};
    } else {
        digest = Digest(data.data, data.size, digest);
    }
    m_file << stream << ' ' << stamp << ' ' << data.size << ' ' << std::hex << std::setw(16)
           << std::setfill('0') << digest << std::dec << '\n';
}

void FrameList::Close()
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_file.close();
    if (!m_file) {
        throw HostError(kExitFailed, "cannot write " + m_path);
    }
}

}  // namespace host
