// One frame's memory.
#ifndef TORVIK_VIDEO_FRAME_BUFFER_H
#define TORVIK_VIDEO_FRAME_BUFFER_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

/// A buffer of a frame ring. One side owns it at a time: the producer while the
/// slot is empty, the consumer while it is lent.
class CFrameBuf
{
public:
    /// Zeroed bytes behind the capacity: a scan for NAL start codes may look
    /// this far past the end of a frame.
    static constexpr std::size_t kSlack = 4;

    /// Memory that a device announces is not touched before it is used.
    explicit CFrameBuf(std::size_t capacity)
        : m_data(new (std::nothrow) unsigned char[capacity + kSlack])
    {
        if (m_data != nullptr)
            std::memset(m_data + capacity, 0, kSlack);
    }
    virtual ~CFrameBuf() { delete[] m_data; }
    CFrameBuf(const CFrameBuf&) = delete;
    CFrameBuf& operator=(const CFrameBuf&) = delete;

    unsigned char* Data() { return m_data; }  ///< null when there was no memory for it

    std::uint32_t size = 0;  ///< valid bytes, set when the frame is complete

private:
    unsigned char* const m_data;
};

#endif
