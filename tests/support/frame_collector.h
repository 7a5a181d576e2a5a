// An observer that keeps what it is given.
#ifndef TESTS_SUPPORT_FRAME_COLLECTOR_H
#define TESTS_SUPPORT_FRAME_COLLECTOR_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "api/camera_observer.h"
#include "tests/support/wait_until.h"

namespace test_support {

/// FNV-1a of 64 bits. `seed` chains pieces.
constexpr std::uint64_t kDigestSeed = 0xcbf29ce484222325u;
std::uint64_t Digest(const unsigned char* data, std::size_t size,
                     std::uint64_t seed = kDigestSeed);

struct CollectedFrame {
    std::size_t size = 0;
    std::uint64_t digest = kDigestSeed;
    std::uint32_t timestamp = 0;  ///< or the crop flag, by stream
    std::uint32_t format_detail = 0;
    bool ends_stream = false;  ///< null data
    bool has_crop_info = false;
    CCameraCropInfo crop_info{};
    std::thread::id thread;
    std::vector<unsigned char> data;  ///< with Keep::kData only
};

enum class Keep { kDigests, kData };

class FrameCollector : public ICameraObserver {
public:
    explicit FrameCollector(CAM_STREAM wanted, Keep keep = Keep::kDigests, int result = 0);

    int OnFrame(const CCameraData* data) override;

    std::size_t Count() const;
    std::uint64_t TotalBytes() const;
    /// Digest of all data in order, however it was cut into frames.
    std::uint64_t StreamDigest() const;
    std::vector<CollectedFrame> Frames() const;
    void Clear();
    bool WaitFor(std::size_t count, std::chrono::milliseconds limit = kPatience) const;

    /// Runs inside OnFrame before the frame is kept, on the capture thread; a
    /// slow observer blocks here. Set before the observer is registered.
    std::function<void(const CCameraData&)> on_frame;

private:
    const Keep m_keep;
    const int m_result;
    mutable std::mutex m_mutex;  // a leaf; guards everything below
    std::vector<CollectedFrame> m_frames;
    std::uint64_t m_total = 0;
    std::uint64_t m_digest = kDigestSeed;
};

}  // namespace test_support

#endif
