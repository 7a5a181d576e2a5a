// A byte buffer with a fill level.
#ifndef TORVIK_VIDEO_MEDIA_SAMPLE_H
#define TORVIK_VIDEO_MEDIA_SAMPLE_H

#include <cstdint>

/// Owns its buffer, or borrows one. Not for use from two threads.
class MediaSample
{
public:
    MediaSample() = default;
    virtual ~MediaSample();
    MediaSample(const MediaSample&) = delete;
    MediaSample& operator=(const MediaSample&) = delete;

    /// Replaces the buffer: by a new one of `size` bytes, or by `external`,
    /// which stays the caller's. Always 1; without memory there is no buffer.
    int AllocBuffer(unsigned int size, unsigned char* external);
    /// Valid bytes, not checked against the capacity. 1, or 0 without a buffer.
    int SetSampleSize(unsigned int size);
    unsigned int GetSampleSize() const { return m_sample_size; }
    unsigned int GetBufferSize() const { return m_buffer_size; }
    unsigned char* GetBuffer() const { return m_buffer; }

private:
    void Free();

    std::uint32_t m_external = 0;
    unsigned char* m_buffer = nullptr;
    std::uint32_t m_sample_size = 0;
    std::uint32_t m_buffer_size = 0;
};

#endif
