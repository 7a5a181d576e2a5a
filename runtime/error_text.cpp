#include "runtime/error_text.h"

#include <cstring>

namespace {

// strerror_r comes in two kinds: GNU's returns the text, POSIX's a status and
// leaves the text in the buffer.
[[maybe_unused]] const char* TextOf(const char* text, const char*)
{
    return text;
}
[[maybe_unused]] const char* TextOf(int, const char* buffer)
{
    return buffer;
}

}  // namespace

ErrorText::ErrorText(int error) : m_buffer{}, m_text(m_buffer)
{
    m_text = TextOf(strerror_r(error, m_buffer, sizeof m_buffer), m_buffer);
}
