// Transfers as a kernel hands them over, and the answers it gets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <string>

#include "tests/support/scripted_camera.h"
#include "virtual_camera/vhci/link.h"

namespace {

using test_support::Bytes;
using test_support::Received;
using test_support::ScriptedCamera;
using testing::ElementsAre;
using namespace vcam::vhci;

constexpr std::uint32_t kIn = 1;
constexpr std::uint32_t kOut = 0;

void StoreBig(std::uint8_t* to, std::uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        to[i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

std::uint32_t LoadBig(const std::uint8_t* from)
{
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value = value << 8 | from[i];
    return value;
}

struct Seen {
    std::uint32_t command = 0, sequence = 0, length = 0, bad_packets = 0;
    std::int32_t status = 0;
    Bytes data;
};

class LinkTest : public testing::Test {
protected:
    LinkTest()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
        m_kernel = File(ends[0]);
        m_link.emplace(File(ends[1]), m_device);
    }
    void Send(const Bytes& bytes)
    {
        ASSERT_EQ(send(m_kernel.Get(), bytes.data(), bytes.size(), 0),
                  static_cast<ssize_t>(bytes.size()));
    }
    static Bytes Submit(std::uint32_t sequence, std::uint32_t direction, std::uint32_t endpoint,
                        std::uint32_t length, std::uint32_t packets = 0, std::uint32_t flags = 0)
    {
        Bytes record(48);
        const std::uint32_t words[] = {1,     sequence, 0x10002, direction, endpoint,
                                       flags, length,   0,       packets};
        for (std::size_t i = 0; i < std::size(words); ++i)
            StoreBig(&record[4 * i], words[i]);
        return record;
    }
    static Bytes Control(std::uint32_t sequence, const Bytes& setup, std::uint32_t length)
    {
        Bytes record = Submit(sequence, (setup[0] & 0x80) != 0 ? kIn : kOut, 0, length);
        std::copy(setup.begin(), setup.end(), record.begin() + 40);
        return record;
    }
    static Bytes Unlink(std::uint32_t sequence, std::uint32_t victim)
    {
        Bytes record(48);
        StoreBig(&record[0], 2);
        StoreBig(&record[4], sequence);
        StoreBig(&record[20], victim);
        return record;
    }
    void Pass()
    {
        EXPECT_TRUE(m_link->Receive(m_now));
        m_next = m_link->Serve(m_now);
    }
    bool Answered() const
    {
        char byte = 0;
        return recv(m_kernel.Get(), &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 1;
    }
    Seen Answer(std::size_t extra = 0)
    {
        Seen seen;
        std::array<std::uint8_t, 48> record{};
        if (!Answered()) {
            ADD_FAILURE() << "no answer";
            return seen;
        }
        EXPECT_EQ(recv(m_kernel.Get(), record.data(), record.size(), MSG_WAITALL), 48);
        seen.command = LoadBig(&record[0]);
        seen.sequence = LoadBig(&record[4]);
        seen.status = static_cast<std::int32_t>(LoadBig(&record[20]));
        if (seen.command == kSubmitAnswer) {
            seen.length = LoadBig(&record[24]);
            seen.bad_packets = LoadBig(&record[36]);
        }
        seen.data.resize(extra);
        if (extra > 0) {
            EXPECT_EQ(recv(m_kernel.Get(), seen.data.data(), extra, MSG_WAITALL),
                      static_cast<ssize_t>(extra));
        }
        return seen;
    }

    ScriptedCamera m_device;
    File m_kernel;
    std::optional<Link> m_link;
    vcam::TimeUs m_now = 1000000;
    vcam::TimeUs m_next = 0;
};

TEST_F(LinkTest, DescriptorsAreTheDevicesOwn)
{
    Send(Control(7, {0x80, 6, 0, 1, 0, 0, 18, 0}, 18));
    Pass();
    const Seen seen = Answer(18);
    EXPECT_EQ(seen.command, std::uint32_t{kSubmitAnswer});
    EXPECT_EQ(seen.sequence, 7u);
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.data, m_device.DeviceDescriptor());
}

TEST_F(LinkTest, RequestNobodyKnowsStalls)
{
    Send(Control(1, {0xA1, 0x81, 0, 9, 1, 0, 4, 0}, 4));
    Pass();
    const Seen seen = Answer();
    EXPECT_EQ(seen.status, -EPIPE);
    EXPECT_EQ(seen.length, 0u);
}

TEST_F(LinkTest, DataOfAControlRequestArrives)
{
    Bytes record = Control(1, {0x21, 1, 0, 2, 0, 3, 2, 0}, 2);
    record.push_back(0xAB);
    record.push_back(0xCD);
    Send(record);
    Pass();
    EXPECT_EQ(Answer().status, 0);
    const auto seen = m_device.Controls(0x21, 1, 0x0200, 0x0300);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_THAT(seen[0].data, ElementsAre(0xAB, 0xCD));
}

TEST_F(LinkTest, BulkTransfersAreAnsweredInOrderWhenThereIsSomething)
{
    Send(Submit(1, kIn, 1, 64));
    Send(Submit(2, kIn, 1, 64));
    Pass();
    EXPECT_FALSE(Answered());
    m_device.QueueIn(0x81, {1, 2, 3});
    Pass();
    const Seen first = Answer(3);
    EXPECT_EQ(first.sequence, 1u);
    EXPECT_THAT(first.data, ElementsAre(1, 2, 3));
    EXPECT_FALSE(Answered());
    m_device.QueueIn(0x81, {4});
    Pass();
    EXPECT_EQ(Answer(1).sequence, 2u);
}

TEST_F(LinkTest, ShortAnswerIsAnErrorOnlyWhereTheKernelSaysSo)
{
    Send(Submit(1, kIn, 1, 64, 0, kShortNotOk));
    m_device.QueueIn(0x81, {1});
    Pass();
    const Seen seen = Answer(1);
    EXPECT_EQ(seen.status, -EREMOTEIO);
    EXPECT_EQ(seen.length, 1u);
}

TEST_F(LinkTest, WaitingTransferIsGivenBackAndTheDeviceTold)
{
    Send(Submit(1, kIn, 1, 64));
    Send(Unlink(2, 1));
    Pass();
    const Seen seen = Answer();
    EXPECT_EQ(seen.command, std::uint32_t{kUnlinkAnswer});
    EXPECT_EQ(seen.sequence, 2u);
    EXPECT_EQ(seen.status, -ECONNRESET);
    EXPECT_EQ(m_device.Of(Received::kCancelled).size(), 1u);
}

TEST_F(LinkTest, AnsweredTransferCannotBeGivenBack)
{
    Send(Submit(1, kIn, 1, 64));
    m_device.QueueIn(0x81, {1});
    Pass();
    Answer(1);
    Send(Unlink(2, 1));
    Pass();
    EXPECT_EQ(Answer().status, 0);
}

TEST_F(LinkTest, SilentTransferWaitsUntilItIsTakenBack)
{
    Send(Submit(1, kIn, 1, 64));
    m_device.QueueIn(0x81, {}, vcam::TransferStatus::kTimeout);
    m_device.QueueIn(0x81, {5});
    Pass();
    Send(Submit(2, kIn, 1, 64));
    Pass();
    EXPECT_FALSE(Answered());
    Send(Unlink(3, 1));
    Pass();
    EXPECT_EQ(Answer().status, -ECONNRESET);
    EXPECT_EQ(Answer(1).sequence, 2u);
}

TEST_F(LinkTest, PacketsTravelWithoutGapsAndTakeTheirTime)
{
    Bytes record = Submit(1, kIn, 2, 20, 2);
    record.resize(record.size() + 32);
    StoreBig(&record[48 + 4], 10);
    StoreBig(&record[64 + 0], 10);
    StoreBig(&record[64 + 4], 10);
    for (std::uint32_t sequence = 1; sequence <= 12; ++sequence) {
        StoreBig(&record[4], sequence);
        Send(record);
        m_device.QueueAudio({{1, 2}, {3}});
    }
    Pass();
    const Seen seen = Answer(3 + 32);
    EXPECT_EQ(seen.length, 3u);
    EXPECT_THAT(Bytes(seen.data.begin(), seen.data.begin() + 3), ElementsAre(1, 2, 3));
    EXPECT_EQ(LoadBig(&seen.data[3 + 8]), 2u);
    EXPECT_EQ(LoadBig(&seen.data[3 + 16]), 10u);
    EXPECT_EQ(LoadBig(&seen.data[3 + 24]), 1u);
    // A few at once, the rest as a bus could carry them.
    unsigned answered = 1;
    for (; Answered(); ++answered)
        Answer(3 + 32);
    EXPECT_LT(answered, 12u);
    EXPECT_GT(m_next, m_now);
    m_now = m_next;
    Pass();
    EXPECT_TRUE(Answered());
}

TEST_F(LinkTest, BulkOutArrives)
{
    Bytes record = Submit(1, kOut, 1, 3);
    for (const std::uint8_t byte : Bytes{7, 8, 9})
        record.push_back(byte);
    Send(record);
    Pass();
    const Seen seen = Answer();
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.length, 3u);
    ASSERT_EQ(m_device.Of(Received::kBulkOut).size(), 1u);
    EXPECT_THAT(m_device.Of(Received::kBulkOut)[0].data, ElementsAre(7, 8, 9));
}

TEST_F(LinkTest, RubbishOnTheWireEndsTheLink)
{
    Send(Bytes(48, 0xFF));
    EXPECT_FALSE(m_link->Receive(m_now));
}

TEST_F(LinkTest, EndOfTheWireEndsTheLink)
{
    m_kernel.Close();
    EXPECT_FALSE(m_link->Receive(m_now));
}

}  // namespace
