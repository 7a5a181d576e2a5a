// Reassembly of 8192-byte payloads beside a plain memcpy of the same bytes
// between the same kind of buffers: the assembler by itself, and with all that
// brings it its transfers.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <libusb.h>
#include <memory>
#include <vector>

#include "bench/allocations.h"
#include "bench/benches.h"
#include "bench/flat_libusb.h"
#include "bench/report.h"
#include "runtime/byte_order.h"
#include "video/frame_assembler.h"
#include "video/uvc_transport.h"

namespace bench {
namespace {

constexpr int kPayload = 8192;
constexpr int kHeader = 12;
constexpr int kPayloadsPerFrame = 100;
constexpr int kFrames = 400;
/// Not measured: the first writes to fresh memory are the kernel's work.
constexpr int kWarmUpFrames = 10;
constexpr int kRounds = 15;
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

Counts Used(const Counts& before)
{
    const Counts after = CountsNow();
    return {after.allocations - before.allocations, after.allocated_bytes - before.allocated_bytes,
            after.formatted - before.formatted};
}

/// The same payloads into the assembler, and its frames out of the ring.
double AssemblerSeconds(Counts& used)
{
    constexpr std::uint32_t kFrameSize = 0x100000 + kPayload;
    std::array<std::unique_ptr<unsigned char[]>, 3> payloads;
    for (auto& payload : payloads)
        payload.reset(new unsigned char[kPayload + 512]());
    std::array<std::unique_ptr<CFrameBuf>, 5> owned;
    std::array<CFrameBuf*, 5> frames;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        owned[i] = std::make_unique<CFrameBuf>(kFrameSize);
        frames[i] = owned[i].get();
    }
    CFrameBufQueue ring(frames.data(), static_cast<int>(frames.size()));
    FrameAssembler assembler;
    assembler.Begin(ring, kFrameSize);
    const std::atomic<int> interrupt{0};
    g_payloads = 0;

    Counts before = {};
    double start = 0;
    std::size_t next = 0;
    for (int taken = 0; taken < kWarmUpFrames + kFrames;) {
        if (taken == kWarmUpFrames && start == 0) {
            before = CountsNow();
            start = ThreadCpuSeconds();
        }
        unsigned char* const payload = payloads[next].get();
        next = next == 2 ? 0 : next + 1;
        WriteHeader(payload, kPayload);
        assembler.Take(payload, kPayload, 0, interrupt);
        unsigned char* data;
        unsigned size;
        if ((g_payloads - 1) / kPayloadsPerFrame > taken && ring.Lend(&data, &size) > 0) {
            ring.Release();
            ++taken;
        }
    }
    const double seconds = ThreadCpuSeconds() - start;
    used = Used(before);
    assembler.End();
    return seconds;
}

void LIBUSB_CALL ResubmitOnly(libusb_transfer* transfer)
{
    libusb_submit_transfer(transfer);
}

/// The same payloads through the same event loop, with nobody to take them.
double BareLoopSeconds()
{
    libusb_context* context = nullptr;
    libusb_init(&context);
    libusb_device_handle* const handle = libusb_open_device_with_vid_pid(
        context, TORVIK_CAM_VENDOR_ID, TORVIK_CAM_PRODUCT_ID);
    std::vector<std::unique_ptr<unsigned char[]>> payloads;
    std::vector<libusb_transfer*> transfers;
    for (int i = 0; i < 3; ++i) {
        payloads.emplace_back(new unsigned char[kPayload + 512]());
        transfers.push_back(libusb_alloc_transfer(0));
        libusb_fill_bulk_transfer(transfers.back(), handle, 0x81, payloads.back().get(), kPayload,
                                  ResubmitOnly, nullptr, 5000);
        libusb_submit_transfer(transfers.back());
    }
    g_payloads = 0;
    UsePayloadHeader(WriteHeader);
    const double start = ThreadCpuSeconds();
    while (g_payloads < kFrames * kPayloadsPerFrame) {
        timeval slice = {0, 33000};
        libusb_handle_events_timeout(context, &slice);
    }
    const double seconds = ThreadCpuSeconds() - start;
    UsePayloadHeader(nullptr);
    for (libusb_transfer* const transfer : transfers)
        libusb_free_transfer(transfer);
    libusb_close(handle);
    libusb_exit(context);
    return seconds;
}

double ReassemblySeconds(Counts& used)
{
    CLibUSB_UvcCtrl transport;
    transport.Init(TORVIK_CAM_VENDOR_ID, TORVIK_CAM_PRODUCT_ID);
    transport.UVC_EnableVideoStream(3, 4, 30);
    g_payloads = 0;
    UsePayloadHeader(WriteHeader);

    Counts before = {};
    double start = 0;
    for (int taken = 0; taken < kWarmUpFrames + kFrames;) {
        if (taken == kWarmUpFrames && start == 0) {
            before = CountsNow();
            start = ThreadCpuSeconds();
        }
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
    used = Used(before);
    UsePayloadHeader(nullptr);
    transport.UVC_DisableVideoStream();
    return seconds;
}

}  // namespace

void ReassemblyBench()
{
    Heading("Reassembly of 8192-byte payloads, 327 MB");
    Counts used = {};
    Counts used_alone = {};
    MemcpySeconds();
    // In turns, so that whatever else the machine does falls on all of them;
    // and each one's best, since noise only ever adds.
    double copy = MemcpySeconds();
    double alone = AssemblerSeconds(used_alone);
    double reassembly = ReassemblySeconds(used);
    double loop = BareLoopSeconds();
    for (int round = 1; round < kRounds; ++round) {
        copy = std::min(copy, MemcpySeconds());
        alone = std::min(alone, AssemblerSeconds(used_alone));
        reassembly = std::min(reassembly, ReassemblySeconds(used));
        loop = std::min(loop, BareLoopSeconds());
    }
    const double net = reassembly - loop;
    Figure("plain memcpy", kBytes / copy * 1e-9, "GB/s");
    Figure("assembler alone", kBytes / alone * 1e-9, "GB/s");
    Figure("assembler alone / memcpy speed", copy / alone, "", "0.8 or more");
    Figure("reassembly with the bench's own USB event loop", kBytes / reassembly * 1e-9, "GB/s");
    Figure("reassembly", kBytes / net * 1e-9, "GB/s");
    Figure("reassembly / memcpy speed", copy / net, "", "0.8 or more");
    Figure("per payload, the copy", copy / (kFrames * kPayloadsPerFrame) * 1e9, "ns");
    Figure("per payload, the rest of the assembler alone",
           (alone - copy) / (kFrames * kPayloadsPerFrame) * 1e9, "ns");
    Figure("per payload, the rest", (net - copy) / (kFrames * kPayloadsPerFrame) * 1e9, "ns");
    Figure("per payload, the bare event loop", loop / (kFrames * kPayloadsPerFrame) * 1e9, "ns");
    Figure("allocations", static_cast<double>(used.allocations + used_alone.allocations), "", "0");
    Figure("formatted log lines", static_cast<double>(used.formatted + used_alone.formatted), "",
           "0");
}

}  // namespace bench
