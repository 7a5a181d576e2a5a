// Parsing of containers, watched.
#ifndef TESTS_VIDEO_CONTAINER_FIXTURE_H
#define TESTS_VIDEO_CONTAINER_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "tests/support/log_level.h"
#include "tests/video/container_builder.h"
#include "video/container_parser.h"

constexpr char kOffsetLine[] = "Parser Error, offset >= frame_size \r\n";

inline std::string SizeLine(unsigned type, int reserved)
{
    char text[160];
    std::snprintf(text, sizeof text,
                  "Parser Error, offset+h->dwPlayloadSize > frame_size , Stream Type = "
                  "0x%X,offse+h->dwPlayloadSize=%d\r\n",
                  type, reserved);
    return text;
}

/// Offset of the data of a section that starts at `section`.
constexpr std::size_t kData = 32;

class ContainerParser : public testing::Test {
protected:
    /// Parses exactly these bytes: memory checkers see every step outside.
    void Parse(const Bytes& bytes)
    {
        m_frame = std::make_unique<unsigned char[]>(bytes.size());
        if (!bytes.empty())
            std::memcpy(m_frame.get(), bytes.data(), bytes.size());
        m_size = bytes.size();
        std::memset(static_cast<void*>(&m_sample), 0xAB, sizeof m_sample);
        EXPECT_EQ(H264Parser_kvr_mode(m_frame.get(), static_cast<unsigned>(m_size), &m_sample), 0u);
    }
    void ExpectNothingFound() const
    {
        const KelH264_MediaSample empty = {};
        EXPECT_EQ(m_sample.main.data, empty.main.data);
        for (const StreamSection* const section : Sections()) {
            EXPECT_EQ(section->data, nullptr);
            EXPECT_EQ(section->size, 0u);
        }
    }
    std::vector<const StreamSection*> Sections() const
    {
        return {&m_sample.main, &m_sample.jpeg, &m_sample.gray, &m_sample.yuy2,
                &m_sample.nv12, &m_sample.nv21, &m_sample.sub};
    }
    std::size_t OffsetOf(const StreamSection& section) const
    {
        return static_cast<std::size_t>(section.data - m_frame.get());
    }
    void ExpectLines(const std::vector<std::string>& messages) const
    {
        EXPECT_EQ(m_log.MessagesOf("H264Parser_kvr_mode"), messages);
        for (const test_support::LogEntry& entry : m_log.Entries())
            EXPECT_EQ(entry.level, 4);
    }

    test_support::CapturedLog m_log;
    std::unique_ptr<unsigned char[]> m_frame;
    std::size_t m_size = 0;
    KelH264_MediaSample m_sample{};
};

#endif
