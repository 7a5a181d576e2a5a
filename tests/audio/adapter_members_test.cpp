// The order of what the two adapters keep of the identity that they opened, by
// which whoever looks into the process finds it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>

#include "control/audio_capture_adapter.h"
#include "control/video_capture_adapter.h"
#include "tests/support/log_level.h"
#include "virtual_camera/standin/bus.h"

namespace {

template <typename Adapter>
class AdapterMembers : public testing::Test {
protected:
    AdapterMembers() { vcam::standin::Bus::Instance().MarkConfigured(); }

    /// Whether an adapter for this identity has these numbers side by side.
    static bool HasInItself(std::uint16_t vendor, std::uint16_t product,
                            const std::uint16_t (&numbers)[2])
    {
        // Zeros, so that what the constructor leaves alone holds nothing.
        std::size_t room = sizeof(Adapter) + alignof(Adapter);
        const std::unique_ptr<unsigned char[]> memory(new unsigned char[room]());
        void* place = memory.get();
        std::align(alignof(Adapter), sizeof(Adapter), place, room);
        auto* const adapter = new (place) Adapter(vendor, product);
        const auto* const bytes = reinterpret_cast<const unsigned char*>(adapter);
        unsigned char wanted[sizeof numbers];
        std::memcpy(wanted, numbers, sizeof numbers);
        const bool found = std::search(bytes, bytes + sizeof(Adapter), std::begin(wanted),
                                       std::end(wanted)) != bytes + sizeof(Adapter);
        adapter->~Adapter();
        return found;
    }

    test_support::CapturedLog m_log;
};

using Adapters = testing::Types<KelUvcCapture, CAudioCapture>;
TYPED_TEST_SUITE(AdapterMembers, Adapters);

TYPED_TEST(AdapterMembers, AreTheProductAndRightBehindItTheVendor)
{
    constexpr std::uint16_t kVendor = 0xA5C3;
    constexpr std::uint16_t kProduct = 0x96B7;
    EXPECT_TRUE(this->HasInItself(kVendor, kProduct, {kProduct, kVendor}));
    EXPECT_FALSE(this->HasInItself(kVendor, kProduct, {kVendor, kProduct}));
}

}  // namespace
