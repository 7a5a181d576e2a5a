// The order of what the two adapters keep of the identity that they opened, by
// which whoever looks into the process finds it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>

#include "control/audio_capture_adapter.h"
#include "control/video_capture_adapter.h"
#include "tests/support/log_level.h"
#include "virtual_camera/standin/bus.h"

namespace {

constexpr std::uint16_t kVendor = 0xA5C3;
constexpr std::uint16_t kProduct = 0x96B7;

/// Whether an adapter for this identity has these numbers side by side.
template <typename Adapter>
bool HasInItself(const std::uint16_t (&numbers)[2])
{
    // Zeros, so that what the constructor leaves alone holds nothing.
    std::size_t room = sizeof(Adapter) + alignof(Adapter);
    const std::unique_ptr<unsigned char[]> memory(new unsigned char[room]());
    void* place = memory.get();
    std::align(alignof(Adapter), sizeof(Adapter), place, room);
    auto* const adapter = new (place) Adapter(kVendor, kProduct);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(adapter);
    unsigned char wanted[sizeof numbers];
    std::memcpy(wanted, numbers, sizeof numbers);
    const bool found = std::search(bytes, bytes + sizeof(Adapter), std::begin(wanted),
                                   std::end(wanted)) != bytes + sizeof(Adapter);
    adapter->~Adapter();
    return found;
}

class AdapterMembers : public testing::Test {
protected:
    AdapterMembers() { vcam::standin::Bus::Instance().MarkConfigured(); }

    test_support::CapturedLog m_log;
};

TEST_F(AdapterMembers, OfVideoAreTheProductAndRightBehindItTheVendor)
{
    EXPECT_TRUE(HasInItself<KelUvcCapture>({kProduct, kVendor}));
    EXPECT_FALSE(HasInItself<KelUvcCapture>({kVendor, kProduct}));
}

TEST_F(AdapterMembers, OfAudioAreTheProductAndRightBehindItTheVendor)
{
    EXPECT_TRUE(HasInItself<CAudioCapture>({kProduct, kVendor}));
    EXPECT_FALSE(HasInItself<CAudioCapture>({kVendor, kProduct}));
}

}  // namespace
