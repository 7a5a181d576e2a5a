#include "usb/device_loss.h"

#include <atomic>

namespace {

std::atomic<unsigned> g_losses{0};

}  // namespace

void NoteDeviceLoss()
{
    g_losses.fetch_add(1, std::memory_order_relaxed);
}

unsigned DeviceLosses()
{
    return g_losses.load(std::memory_order_relaxed);
}
