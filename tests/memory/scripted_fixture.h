// The shared library with a camera on the bus that announces what the test says
// and sends what it is given.
#ifndef TESTS_MEMORY_SCRIPTED_FIXTURE_H
#define TESTS_MEMORY_SCRIPTED_FIXTURE_H

#include <memory>

#include "tests/memory/memory_fixture.h"
#include "tests/support/scripted_camera.h"
#include "tests/video/container_builder.h"

using test_support::ScriptedCamera;

class ScriptedMemoryTest : public MemoryTest {
protected:
    static constexpr std::uint32_t kPayloadSize = 8192;

    ScriptedMemoryTest()
    {
        m_bus.DetachAll();
        m_bus.Attach(m_device);
        // Answers of a controller that has nothing to say, to the transports and
        // to the loader.
        for (const auto request_type : {std::uint8_t{0xA1}, std::uint8_t{0xA0}}) {
            m_device->SetReply(request_type, 0x81, 0x0F00, 0x0600, {test_support::Bytes(16, 0)});
            m_device->SetReply(request_type, 0x81, 0x0200, 0x0600, {test_support::Bytes(8, 0)});
        }
    }

    /// One container, in as many payloads as it takes, and the end of the frame.
    void SendContainer(const Bytes& container, std::size_t payload_size = kPayloadSize)
    {
        constexpr std::uint8_t kEndOfFrame = 0x02;
        const std::size_t room = payload_size - 12;
        for (std::size_t at = 0; at < container.size(); at += room) {
            const std::size_t end = std::min(container.size(), at + room);
            m_device->QueuePayload(m_frame_id, Bytes(container.begin() + static_cast<long>(at),
                                                     container.begin() + static_cast<long>(end)));
        }
        m_device->QueuePayload(m_frame_id | kEndOfFrame);
        m_frame_id ^= 1;
    }

    /// @name In the child
    /// @{
    /// A start and a stop with small frames: what is made once is made then.
    void WarmUpIn(Story& story)
    {
        m_device->OfferVideo(65536, kPayloadSize);
        story.Doing("StartRecording with small frames");
        story.Require(m_camera->StartRecording(), "false");
        StopIn(story, "StopRecording after small frames");
    }
    /// @}

    std::shared_ptr<ScriptedCamera> m_device = std::make_shared<ScriptedCamera>();

private:
    std::uint8_t m_frame_id = 0;
};

#endif
