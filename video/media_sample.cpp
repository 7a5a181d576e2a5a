#include "video/media_sample.h"

#include <new>

MediaSample::~MediaSample()
{
    Free();
}

void MediaSample::Free()
{
    if (m_external == 0)
        delete[] m_buffer;
}

int MediaSample::AllocBuffer(unsigned int size, unsigned char* external)
{
    Free();
    m_external = external != nullptr;
    m_buffer = external != nullptr ? external : new (std::nothrow) unsigned char[size];
    m_buffer_size = m_buffer != nullptr ? size : 0;
    m_sample_size = 0;
    return 1;
}

int MediaSample::SetSampleSize(unsigned int size)
{
    if (m_buffer == nullptr)
        return 0;
    m_sample_size = size;
    return 1;
}
