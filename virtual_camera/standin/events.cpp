// Who handles a context's events, and one pass over them. The rules are those
// of libusb's asynchronous I/O: one thread at a time, the others wait for it
// to leave or for a transfer to complete, and call-backs run inside the pass.
#include "virtual_camera/standin/core.h"

namespace vcam::standin {
namespace {

void WakeWaiters(libusb_context* context)
{
    std::lock_guard<std::mutex> guard(context->waiters_lock);
    context->waiters.NotifyAll();
}

void Deliver(libusb_context* context, libusb_transfer* transfer)
{
    const bool free_after = (transfer->flags & LIBUSB_TRANSFER_FREE_TRANSFER) != 0;
    CallScope scope(Core::Get().Calls(), Function::kCompletion);
    if (!Private(transfer).internal)
        scope.Begin([transfer](Call& call) {
            call.handle = transfer->dev_handle;
            call.transfer = transfer;
            call.endpoint = transfer->endpoint;
            call.transfer_type = transfer->type;
            call.status = transfer->status;
            call.actual_length = static_cast<std::size_t>(transfer->actual_length);
            call.iso_packets = transfer->num_iso_packets;
        });
    const bool announced = !Private(transfer).internal;
    transfer->callback(transfer);
    if (announced)
        scope.End();
    if (free_after)
        Core::Get().Free(transfer);
    WakeWaiters(context);
}

}  // namespace

bool InsidePass(const libusb_context* context)
{
    return context->pass.load() == std::this_thread::get_id();
}

int TryLockEvents(libusb_context* context)
{
    if (context->closing.load() > 0 || context->handler.load() == std::this_thread::get_id())
        return 1;
    if (!context->events_lock.try_lock())
        return 1;
    context->handler = std::this_thread::get_id();
    context->handler_active = true;
    return 0;
}

void LockEvents(libusb_context* context)
{
    context->events_lock.lock();
    context->handler = std::this_thread::get_id();
    context->handler_active = true;
}

void UnlockEvents(libusb_context* context)
{
    context->handler_active = false;
    context->handler = std::thread::id{};
    context->events_lock.unlock();
    WakeWaiters(context);
}

int HandleLocked(libusb_context* context, TimeUs deadline)
{
    Core& core = Core::Get();
    if (InsidePass(context)) {
        core.ReportMisuse("event handling from inside a call-back");
        return LIBUSB_ERROR_BUSY;
    }
    context->pass = std::this_thread::get_id();
    for (;;) {
        const std::uint64_t seen = context->wake.Value();
        const bool interrupted = context->interrupted.exchange(false);
        // What a call-back submits waits for the next pass, so that a device
        // that is always ready cannot keep the handler for ever.
        const std::uint64_t limit = core.LastSequence();
        TimeUs next = kNever;
        bool delivered = false;
        while (Transfer* transfer = core.TakeCompletion(context, limit, next)) {
            Deliver(context, Public(*transfer));
            delivered = true;
        }
        if (delivered || interrupted || Now() >= deadline)
            break;
        context->wake.WaitWhile(seen, std::min(next, deadline));
    }
    context->pass = std::thread::id{};
    return LIBUSB_SUCCESS;
}

int HandleOrWait(libusb_context* context, TimeUs deadline, const std::function<bool()>& done)
{
    for (;;) {
        if (TryLockEvents(context) == 0) {
            const int result = done() ? LIBUSB_SUCCESS : HandleLocked(context, deadline);
            UnlockEvents(context);
            return result;
        }
        if (InsidePass(context))
            return HandleLocked(context, deadline);  // refuses
        std::lock_guard<std::mutex> guard(context->waiters_lock);
        if (done())
            return LIBUSB_SUCCESS;
        // Somebody who waits to close a handle counts as a handler, or this
        // thread would take the lock away from it over and over.
        if (!context->handler_active.load() && context->closing.load() == 0)
            continue;
        context->waiters.WaitUntil(context->waiters_lock, deadline);
        return LIBUSB_SUCCESS;
    }
}

}  // namespace vcam::standin
