// Text of an errno value, for the fatal hook.
#ifndef TORVIK_RUNTIME_ERROR_TEXT_H
#define TORVIK_RUNTIME_ERROR_TEXT_H

/// Holds the text of one error number; thread-safe unlike strerror.
class ErrorText
{
public:
    explicit ErrorText(int error);
    const char* c_str() const { return m_text; }

private:
    char m_buffer[128];
    const char* m_text;
};

#endif
