// Images on their way into the controller. What the device gets is compared
// with the file.
//
// input: procedure, length of the stretch, version word, device's version, count
// of answers, answers, image
#include <memory>
#include <string>
#include <vector>

#include "api/firmware_download.h"
#include "firmware/firmware_loader.h"
#include "fuzz/bytes.h"
#include "fuzz/check.h"
#include "fuzz/memory_file.h"
#include "fuzz/scripted_libusb.h"
#include "fuzz/target.h"
#include "runtime/byte_order.h"
#include "runtime/debug_log.h"

namespace {

using Image = std::vector<std::uint8_t>;

constexpr std::size_t kVersionWordAt = 0x2032;
constexpr std::size_t kUvcBlock = 32;
constexpr std::uint32_t kMagic = static_cast<std::uint32_t>(BOOTCODE_MAGIC) << 20;

/// What arrived through the extension unit, block by block.
Image UvcBlocks()
{
    Image image;
    for (const fuzz::Request& request : fuzz::Requests()) {
        if (request.value == 0x0300) {
            FUZZ_CHECK(request.data.size() == kUvcBlock);
            image.insert(image.end(), request.data.begin(), request.data.end());
        }
    }
    return image;
}

bool IsBootCode(const Image& image, std::uint32_t device_version)
{
    if (image.size() < kVersionWordAt + 4)
        return false;
    const std::uint32_t word = ReadLe32(image.data() + kVersionWordAt);
    return (word & 0xFFF00000U) == kMagic && device_version < (word & 0x000FFFFFU);
}

void CheckUvc(Image image, int result)
{
    if (result != 0)
        return;
    image.resize((image.size() + kUvcBlock - 1) / kUvcBlock * kUvcBlock);
    FUZZ_CHECK(UvcBlocks() == image);
}

void Download(unsigned procedure, unsigned argument, const Image& image, _KelDevHandle& device,
              char* path)
{
    switch (procedure) {
    case 0: {
        const int result = UpdateFirmwarePcsyncPath(&device, path, argument);
        FUZZ_CHECK(result != 0 || !image.empty());
        break;
    }
    case 1:
        CheckUvc(image, UpdateFirmwareUvcPath(&device, path, argument));
        break;
    case 2:
        UpdateFirmware(&device, path, argument);
        break;
    case 3:
        UpdateKelFirmwareWithCheckSum(&device, path, static_cast<long long>(argument));
        break;
    default: {
        CCameraFwLoader loader(nullptr, nullptr, nullptr);
        const int result = loader.UpdateBootCode(&device, path, argument);
        if (IsBootCode(image, argument))
            CheckUvc(image, result);
        else
            FUZZ_CHECK(fuzz::Requests().empty());
    }
    }
    // Blocks that failed are missing; the others are the image's, in order.
    const Image& sent = fuzz::BulkOut();
    FUZZ_CHECK(sent.size() <= image.size());
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Bytes input(data, size);
    const std::uint8_t first = input.U8();
    g_embedded_cam_dbg_level = first & 0x80 ? 5 : 0;
    const std::size_t stretch = input.U16();
    const std::uint32_t word = input.U32();
    const std::uint32_t argument = input.U32();
    const std::size_t wanted_answers = input.U8();
    const std::size_t answers = std::min(wanted_answers, input.Left());
    fuzz::Bytes script(input.Data(), answers);
    input.Skip(answers);

    Image image(input.Data(), input.Data() + input.Left());
    image.resize(image.size() + stretch, 0x5A);
    if ((first & 0x40) != 0 && image.size() >= kVersionWordAt + 4)
        WriteLe32(image.data() + kVersionWordAt, word);

    fuzz::UseScript(&script);
    fuzz::KeepRequests(true);
    const std::unique_ptr<libusb_device_handle, void (*)(libusb_device_handle*)> handle(
        fuzz::OpenHandle(), libusb_close);
    _KelDevHandle device = {handle.get(), nullptr, kNoInterface};
    fuzz::MemoryFile file(image.data(), image.size());
    Download(first & 7U, argument, image, device, &file.Path()[0]);

    // Without a failure all of it must arrive.
    if ((first & 7U) < 4 && (first & 7U) != 1) {
        fuzz::UseScript(nullptr);
        Download(first & 7U, argument, image, device, &file.Path()[0]);
        FUZZ_CHECK(fuzz::BulkOut() == image);
    }
    return 0;
}
