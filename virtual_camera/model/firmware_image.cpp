#include "virtual_camera/model/firmware_image.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace vcam {
namespace {

constexpr char kMagic[] = "VCAMIMG1";
constexpr std::size_t kHeaderSize = 32, kSumOffset = 24, kSumSize = 8;
constexpr std::size_t kVersionWord = 0x2032;
constexpr std::uint32_t kFirmwareKind = 1, kBootCodeKind = 2;

std::uint64_t Sum(const Bytes& bytes, std::size_t from, std::size_t to)
{
    return std::accumulate(bytes.begin() + static_cast<std::ptrdiff_t>(from),
                           bytes.begin() + static_cast<std::ptrdiff_t>(to), std::uint64_t{0});
}

}  // namespace

ImageFacts InspectImage(const Bytes& image)
{
    ImageFacts facts;
    facts.length = image.size();
    if (image.size() >= kVersionWord + 4) {
        const auto word = static_cast<std::uint32_t>(LoadLe(&image[kVersionWord], 4));
        if (word >> 20 == BOOTCODE_MAGIC) {
            facts.kind = ImageKind::kBootCode;
            facts.boot_code_version = word & 0xFFFFF;
        }
    }
    if (image.size() < kHeaderSize || std::memcmp(image.data(), kMagic, 8) != 0)
        return facts;
    facts.has_header = true;
    const auto length = static_cast<std::size_t>(LoadLe(&image[8], 4));
    const auto kind = static_cast<std::uint32_t>(LoadLe(&image[12], 4));
    if (length < kHeaderSize || length > image.size())
        return facts;
    facts.length = length;
    const std::uint64_t sum = Sum(image, 0, kSumOffset) + Sum(image, kSumOffset + kSumSize, length);
    facts.sound = sum == LoadLe(&image[kSumOffset], kSumSize) &&
                  kind == (facts.kind == ImageKind::kBootCode ? kBootCodeKind : kFirmwareKind);
    if (facts.kind == ImageKind::kFirmware) {
        facts.firmware_version.emplace();
        std::copy_n(image.begin() + 16, 6, facts.firmware_version->begin());
    }
    return facts;
}

std::uint64_t ImageChecksum(const Bytes& image)
{
    return Sum(image, 0, image.size());
}

}  // namespace vcam
