// Reassembly of 8192-byte payloads beside a plain memcpy of the same bytes
// between the same kind of buffers.

#include <cstring>
#include <memory>
#include <vector>

#include "bench/allocations.h"
#include "bench/benches.h"
#include "bench/flat_libusb.h"
#include "bench/report.h"
#include "runtime/byte_order.h"
#include "video/uvc_transport.h"

namespace bench {
namespace {

constexpr int kPayload = 8192;
constexpr int kHeader = 12;
constexpr int kPayloadsPerFrame = 100;
constexpr int kFrames = 400;
constexpr double kBytes = static_cast<double>(kPayload - kHeader) * kPayloadsPerFrame * kFrames;

int g_payloads;

void WriteHeader(unsigned char* payload, int length)
{
    const int frame = g_payloads++ / kPayloadsPerFrame;
    payload[0] = kHeader;
    payload[1] = static_cast<unsigned char>(0x80 | (frame & 1));
    static_cast<void>(length);
}

double MemcpySeconds()
{
    // As the transport has them: three payload buffers, five frame buffers.
    std::vector<std::unique_ptr<unsigned char[]>> payloads;
    std::vector<std::unique_ptr<unsigned char[]>> frames;
    for (int i = 0; i < 3; ++i)
        payloads.emplace_back(new unsigned char[kPayload + 512]());
    for (int i = 0; i < 5; ++i)
        frames.emplace_back(new unsigned char[0x100000 + kPayload]());
    const double start = ThreadCpuSeconds();
    int payload = 0;
    for (int frame = 0; frame < kFrames; ++frame) {
        unsigned char* target = frames[static_cast<std::size_t>(frame % 5)].get();
        for (int i = 0; i < kPayloadsPerFrame; ++i) {
            unsigned char* const source = payloads[static_cast<std::size_t>(payload)].get();
            source[0] = static_cast<unsigned char>(i);
            std::memcpy(target, source + kHeader, kPayload - kHeader);
            target += kPayload - kHeader;
            payload = payload == 2 ? 0 : payload + 1;
        }
        asm volatile("" : : "r"(frames[static_cast<std::size_t>(frame % 5)].get()) : "memory");
    }
    return ThreadCpuSeconds() - start;
}

double ReassemblySeconds(Counts& used)
{
    CLibUSB_UvcCtrl transport;
    transport.Init(TORVIK_CAM_VENDOR_ID, TORVIK_CAM_PRODUCT_ID);
    transport.UVC_EnableVideoStream(3, 4, 30);
    g_payloads = 0;
    UsePayloadHeader(WriteHeader);

    const Counts before = CountsNow();
    const double start = ThreadCpuSeconds();
    for (int taken = 0; taken < kFrames;) {
        transport.handle_libusb_event();
        unsigned char* data;
        unsigned size;
        // Asks only when a frame is there: the first payload of the next one
        // closed it.
        if ((g_payloads - 1) / kPayloadsPerFrame > taken && transport.DequeFrameBuf(&data, &size) > 0) {
            transport.QueueFrameBuf();
            ++taken;
        }
    }
    const double seconds = ThreadCpuSeconds() - start;
    const Counts after = CountsNow();
    used = {after.allocations - before.allocations, after.allocated_bytes - before.allocated_bytes,
            after.formatted - before.formatted};
    UsePayloadHeader(nullptr);
    transport.UVC_DisableVideoStream();
    return seconds;
}

}  // namespace

void ReassemblyBench()
{
    Heading("Reassembly of 8192-byte payloads, 327 MB");
    Counts used = {};
    MemcpySeconds();
    const double copy = Median([] { return MemcpySeconds(); });
    const double reassembly = Median([&used] { return ReassemblySeconds(used); });
    Figure("plain memcpy", kBytes / copy * 1e-9, "GB/s");
    Figure("reassembly, event pass and ring included", kBytes / reassembly * 1e-9, "GB/s");
    Figure("reassembly / memcpy speed", copy / reassembly, "", "0.8 or more");
    Figure("per payload", (reassembly - copy) / (kFrames * kPayloadsPerFrame) * 1e9, "ns");
    Figure("allocations", static_cast<double>(used.allocations), "", "0");
    Figure("formatted log lines", static_cast<double>(used.formatted), "", "0");
}

}  // namespace bench
