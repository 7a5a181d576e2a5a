#include "host/firmware_image.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>

#include "host/host_error.h"

namespace host {
namespace {

constexpr std::size_t kVersionWord = 0x2032;
constexpr std::uintmax_t kGreatestImage = 64u << 20;

}  // namespace

bool FirmwareImage::IsBootCode() const
{
    return has_version_word && version_word >> 20 == BOOTCODE_MAGIC;
}

std::uint64_t FirmwareImage::Checksum() const
{
    return std::accumulate(bytes.begin(), bytes.end(), std::uint64_t{0});
}

FirmwareImage ReadFirmwareImage(const std::string& path)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        throw HostError(kExitUsage, std::filesystem::exists(path, error)
                                        ? path + " is no regular file"
                                        : "no such image file: " + path);
    }
    if (std::filesystem::file_size(path, error) > kGreatestImage) {
        throw HostError(kExitUsage, path + " is too large for an image (64 MiB at most)");
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw SystemError("cannot read " + path, errno, kExitUsage);
    }
    FirmwareImage image;
    image.bytes.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    if (image.bytes.size() >= kVersionWord + 4) {
        image.has_version_word = true;
        for (std::size_t i = 4; i-- > 0;) {
            image.version_word = image.version_word << 8 | image.bytes[kVersionWord + i];
        }
    }
    return image;
}

}  // namespace host
