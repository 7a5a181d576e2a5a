// A camera that sends as fast as it is read, whose frames can be checked.
#ifndef TESTS_VIDEO_COUNTING_CAMERA_H
#define TESTS_VIDEO_COUNTING_CAMERA_H

#include <atomic>
#include <random>

#include "tests/support/scripted_camera.h"
#include "tests/video/container_builder.h"

/// Every container has a main picture, a sub picture and a raw image with the
/// container's number and a pattern. One main picture in four is missing; a
/// key-frame request is answered with the next container.
class CountingCamera : public test_support::ScriptedCamera {
public:
    /// Sends this many containers, the last one closed, then nothing more.
    explicit CountingCamera(std::uint32_t containers, unsigned seed = 1);

    vcam::TransferResult Control(const vcam::SetupPacket& setup, unsigned char* data,
                                 vcam::TimeUs now) override;

    unsigned KeyFrameRequests() const { return m_requests; }

    /// The raw image of a container.
    static Bytes Image(std::uint32_t number);
    static std::uint32_t NumberOf(const unsigned char* image);
    /// Numbers travel in the pictures too.
    static Bytes Picture(std::uint8_t nal_header, std::uint32_t number, std::size_t size);
    static std::uint32_t NumberIn(const unsigned char* picture);
    static constexpr std::size_t kSmallestPicture = 9;

private:
    vcam::TransferResult Serve(unsigned char* data, std::size_t capacity);
    void MakeContainer();
    unsigned Random(unsigned below) { return static_cast<unsigned>(m_random() % below); }

    const std::uint32_t m_containers;
    std::atomic<unsigned> m_requests{0};
    std::atomic<bool> m_key_frame_wanted{true};

    // Touched by the bus only, one call at a time.
    std::minstd_rand m_random;
    std::uint32_t m_sent = 0;  ///< containers begun
    std::uint32_t m_main_number = 0;
    std::uint32_t m_sub_number = 0;
    Bytes m_container;
    std::size_t m_offset = 0;
    std::uint8_t m_frame_id = 0;
    bool m_close = false;  ///< an end-of-frame payload is due
};

#endif
