// Payloads of any header, length and status into the assembler, with a consumer
// that is too slow at times. Every answer, every frame and the ring's count are
// compared with those of a simple assembler.
//
// input: options, buffer size, then as Stream::Act takes it
#include <algorithm>
#include <array>
#include <atomic>
#include <deque>
#include <memory>
#include <vector>

#include "fuzz/bytes.h"
#include "fuzz/check.h"
#include "fuzz/target.h"
#include "runtime/debug_log.h"
#include "video/frame_assembler.h"

namespace {

using Data = std::vector<std::uint8_t>;
using Answer = FrameAssembler::Answer;

constexpr std::uint8_t kLog = 0x80;
constexpr std::size_t kRing = 5;

/// What a payload is to do, told again in as few words as possible: frames are
/// vectors, and the ring is a queue of them.
class SimpleAssembler {
public:
    struct Frame {
        Data data = {};
        bool followed_by_zeros = true;
    };

    explicit SimpleAssembler(std::size_t limit) : m_limit(limit) {}

    void Begin()
    {
        m_ring.clear();
        m_frame = {};
        m_has_buffer = true;
        m_waits = m_closed = false;
    }
    void Close() { m_closed = true; }

    Answer Take(const Data& payload)
    {
        if (payload.size() < 2)
            return Answer::kTaken;
        if (!m_waits)
            Look(payload);
        if (!m_has_buffer && m_ring.size() == kRing && !m_closed) {
            m_waits = true;
            return Answer::kNoRoom;
        }
        m_waits = false;
        m_has_buffer = m_has_buffer || m_ring.size() < kRing;
        if (m_useless)
            return Answer::kDropped;
        if (payload.size() <= 12)
            return Answer::kTaken;
        if (!m_has_buffer)
            return Answer::kKeep;
        if (m_frame.data.size() + payload.size() - 12 > m_limit)
            return Answer::kDropped;
        m_frame.data.insert(m_frame.data.end(), payload.begin() + 12, payload.end());
        return Answer::kTaken;
    }

    bool Waits() const { return m_waits; }
    bool IsReady() const { return m_waits || m_has_buffer; }
    bool HasBuffer() const { return m_has_buffer; }
    std::deque<Frame>& Ring() { return m_ring; }

private:
    void Look(const Data& payload)
    {
        const bool end_of_frame = (payload[1] & 2) != 0;
        const bool toggled = (payload[1] & 1) != m_frame_id;
        m_useless = (payload[1] & 0x40) != 0;
        if (!end_of_frame && !toggled)
            return;
        m_frame_id = payload[1] & 1;
        m_useless = m_useless || payload[0] != 12;
        if (m_frame.data.empty())
            return;
        m_frame.followed_by_zeros = payload[0] <= 12 || payload.size() <= 12;
        m_ring.push_back(std::move(m_frame));
        m_frame = {};
        m_has_buffer = false;
    }

    const std::size_t m_limit;
    std::deque<Frame> m_ring;
    Frame m_frame;
    int m_frame_id = 0;
    bool m_has_buffer = false;
    bool m_useless = false;  ///< the payload that was looked at last
    bool m_waits = false;
    bool m_closed = false;
};

/// Both assemblers side by side.
class Stream {
public:
    Stream(fuzz::Bytes& script, std::uint32_t limit)
        : m_script(script), m_limit(limit), m_simple(limit)
    {
        for (std::size_t i = 0; i < kRing; ++i) {
            m_owned[i] = std::make_unique<CFrameBuf>(limit);
            m_buffers[i] = m_owned[i].get();
        }
        Begin();
    }
    ~Stream() { End(); }

    void Act()
    {
        const std::uint8_t action = m_script.U8();
        switch (action) {
        case 0xF9:
            End();
            Begin();
            break;
        case 0xFA:
            m_queue->Close();
            m_simple.Close();
            break;
        case 0xFB:
            for (unsigned wanted = m_script.U8() & 7U; wanted > 0; --wanted)
                Consume();
            break;
        case 0xFC:
            m_interrupt = 1 - m_interrupt;
            break;
        default:
            if (!m_simple.Waits())
                m_payload = NextPayload(action);
            Take((action & kTimedOut) != 0 ? 2 : 0);
        }
        FUZZ_CHECK(m_queue->Count() == static_cast<int>(m_simple.Ring().size()));
        FUZZ_CHECK(m_queue->Count() >= 0 && m_queue->Count() <= m_queue->Capacity());
    }

private:
    /// Of a payload's action.
    enum : unsigned {
        kRawHeader = 0x20,  ///< the header's length is the script's too
        kTimedOut = 0x40,
        kPattern = 0x80,  ///< long data that is not in the script
    };

    void Begin()
    {
        m_queue = std::make_unique<CFrameBufQueue>(m_buffers.data(), static_cast<int>(kRing));
        FUZZ_CHECK(m_assembler.Begin(*m_queue, m_limit));
        m_simple.Begin();
    }

    /// The buffer at hand comes behind the last frame.
    void End()
    {
        const std::size_t complete = m_simple.Ring().size();
        m_assembler.End();
        FUZZ_CHECK(!m_assembler.IsReady());
        FUZZ_CHECK(m_queue->Count() ==
                   static_cast<int>(complete + (m_simple.HasBuffer() ? 1 : 0)));
        for (std::size_t i = 0; i < complete; ++i)
            Consume();
    }

    Data NextPayload(unsigned how)
    {
        const std::size_t length = (how & kPattern) != 0 ? m_script.U16() % 2048U : m_script.U8();
        Data payload(length);
        if (length > 0)
            payload[0] = (how & kRawHeader) != 0 ? m_script.U8() : std::uint8_t{12};
        if (length > 1)
            payload[1] = m_script.U8();
        if (length <= 12)
            return payload;
        if ((how & kPattern) == 0) {
            m_script.Take(payload.data() + 12, length - 12);
            return payload;
        }
        for (std::size_t i = 12; i < length; ++i)
            payload[i] = static_cast<std::uint8_t>(++m_pattern);
        return payload;
    }

    void Take(int status)
    {
        FUZZ_CHECK(m_assembler.IsReady() == m_simple.IsReady());
        if (!m_simple.IsReady())
            return;
        // Nobody would end a sleep on a full ring.
        const bool may_fill = m_queue->Count() + 1 >= m_queue->Capacity();
        const std::atomic<int> interrupt{may_fill ? 1 : m_interrupt};
        const Data before = m_payload;
        const Answer expected = m_simple.Take(m_payload);
        const Answer answer = m_assembler.Take(
            m_payload.data(), static_cast<unsigned>(m_payload.size()), status, interrupt);
        FUZZ_CHECK(answer == expected);
        FUZZ_CHECK(m_assembler.IsAwaitingBuffer() == m_simple.Waits());
        // Of the payload nothing but the error bit may change.
        Data after = m_payload;
        if (after.size() > 1)
            after[1] = static_cast<std::uint8_t>((after[1] & ~0x40) | (before[1] & 0x40));
        FUZZ_CHECK(after == before);
        for (const auto& buffer : m_owned)
            FUZZ_CHECK(IsZero(buffer->Data() + m_limit));
    }

    /// A slack's bytes.
    static bool IsZero(const unsigned char* slack)
    {
        return std::all_of(slack, slack + CFrameBuf::kSlack, [](unsigned char byte) {
            return byte == 0;
        });
    }

    void Consume()
    {
        std::deque<SimpleAssembler::Frame>& expected = m_simple.Ring();
        if (expected.empty())
            return;
        CFrameBuf* const frame = m_queue->Peek();
        FUZZ_CHECK(frame != nullptr);
        const Data& data = expected.front().data;
        FUZZ_CHECK(frame->size == data.size());
        FUZZ_CHECK(std::equal(data.begin(), data.end(), frame->Data()));
        FUZZ_CHECK(!expected.front().followed_by_zeros || IsZero(frame->Data() + data.size()));
        m_queue->Release();
        expected.pop_front();
    }

    fuzz::Bytes& m_script;
    const std::uint32_t m_limit;
    std::array<std::unique_ptr<CFrameBuf>, kRing> m_owned;
    std::array<CFrameBuf*, kRing> m_buffers{};
    std::unique_ptr<CFrameBufQueue> m_queue;
    FrameAssembler m_assembler;
    SimpleAssembler m_simple;
    Data m_payload;  ///< the last one; it waits when the assemblers say so
    int m_interrupt = 0;
    unsigned m_pattern = 0;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Bytes script(data, size);
    g_embedded_cam_dbg_level = script.U8() & kLog ? 5 : 0;
    const std::uint32_t limit = script.U16() % 4096U;
    Stream stream(script, limit);
    while (!script.Empty())
        stream.Act();
    return 0;
}
