// Asynchronous transfers and event handling.
#include <sys/time.h>

#include "virtual_camera/standin/core.h"

using namespace vcam;
using namespace vcam::standin;

namespace {

constexpr TimeUs kForever = 60000000;  // libusb's own limit where none is given

TimeUs Deadline(const timeval* limit)
{
    if (!limit)
        return After(Now(), kForever);
    return After(Now(), static_cast<TimeUs>(limit->tv_sec) * 1000000 +
                            static_cast<TimeUs>(limit->tv_usec));
}

int HandleEvents(Function function, libusb_context* context, const timeval* limit,
                 const int* completed)
{
    Core& core = Core::Get();
    CallScope scope(core.Calls(), function);
    const bool fails = scope.Begin([limit](Call& call) {
        call.value = limit ? static_cast<int>(limit->tv_sec * 1000 + limit->tv_usec / 1000) : -1;
    });
    if (fails)
        return scope.End(scope.Failure());
    context = core.Resolve(context, NameOf(function));
    if (!context)
        return scope.End<int>(LIBUSB_ERROR_INVALID_PARAM);
    if (limit && (limit->tv_sec < 0 || limit->tv_usec < 0 || limit->tv_usec >= 1000000))
        return scope.End<int>(LIBUSB_ERROR_INVALID_PARAM);
    const auto done = [completed] {
        return completed && __atomic_load_n(completed, __ATOMIC_ACQUIRE) != 0;
    };
    if (function == Function::k_handle_events_locked)
        return scope.End(HandleLocked(context, Deadline(limit)));
    return scope.End(HandleOrWait(context, Deadline(limit), done));
}

}  // namespace

extern "C" {

libusb_transfer* LIBUSB_CALL libusb_alloc_transfer(int iso_packets)
{
    CallScope scope(Core::Get().Calls(), Function::k_alloc_transfer);
    if (scope.Begin([iso_packets](Call& call) { call.iso_packets = iso_packets; }))
        return scope.End(static_cast<libusb_transfer*>(nullptr));
    return scope.End(iso_packets < 0 ? nullptr : Core::Get().Allocate(iso_packets, false));
}

void LIBUSB_CALL libusb_free_transfer(libusb_transfer* transfer)
{
    CallScope scope(Core::Get().Calls(), Function::k_free_transfer);
    scope.Begin([transfer](Call& call) { call.transfer = transfer; });
    if (transfer)
        Core::Get().Free(transfer);
    scope.End();
}

int LIBUSB_CALL libusb_submit_transfer(libusb_transfer* transfer)
{
    CallScope scope(Core::Get().Calls(), Function::k_submit_transfer);
    const bool fails = scope.Begin([transfer](Call& call) {
        call.handle = transfer->dev_handle;
        call.transfer = transfer;
        call.endpoint = transfer->endpoint;
        call.transfer_type = transfer->type;
        call.length = static_cast<std::size_t>(transfer->length);
        call.timeout_ms = transfer->timeout;
        call.iso_packets = transfer->num_iso_packets;
        if (transfer->type == LIBUSB_TRANSFER_TYPE_CONTROL)
            call.setup = DecodeSetup(transfer->buffer);
        else if ((transfer->endpoint & LIBUSB_ENDPOINT_IN) == 0)
            call.data.assign(transfer->buffer, transfer->buffer + transfer->length);
    });
    if (fails)
        return scope.End(scope.Failure());
    return scope.End(Core::Get().Submit(transfer, scope.Effects().completion));
}

int LIBUSB_CALL libusb_cancel_transfer(libusb_transfer* transfer)
{
    CallScope scope(Core::Get().Calls(), Function::k_cancel_transfer);
    if (scope.Begin([transfer](Call& call) { call.transfer = transfer; }))
        return scope.End(scope.Failure());
    return scope.End(Core::Get().Cancel(transfer));
}

int LIBUSB_CALL libusb_handle_events(libusb_context* context)
{
    return HandleEvents(Function::k_handle_events, context, nullptr, nullptr);
}

int LIBUSB_CALL libusb_handle_events_completed(libusb_context* context, int* completed)
{
    return HandleEvents(Function::k_handle_events_completed, context, nullptr, completed);
}

int LIBUSB_CALL libusb_handle_events_timeout(libusb_context* context, timeval* limit)
{
    return HandleEvents(Function::k_handle_events_timeout, context, limit, nullptr);
}

int LIBUSB_CALL libusb_handle_events_timeout_completed(libusb_context* context, timeval* limit,
                                                       int* completed)
{
    return HandleEvents(Function::k_handle_events_timeout_completed, context, limit, completed);
}

int LIBUSB_CALL libusb_handle_events_locked(libusb_context* context, timeval* limit)
{
    return HandleEvents(Function::k_handle_events_locked, context, limit, nullptr);
}

void LIBUSB_CALL libusb_interrupt_event_handler(libusb_context* context)
{
    CallScope scope(Core::Get().Calls(), Function::k_interrupt_event_handler);
    scope.Begin([](Call&) {});
    context = Core::Get().Resolve(context, "libusb_interrupt_event_handler");
    if (context) {
        context->interrupted = true;
        context->wake.Bump();
    }
    scope.End();
}

int LIBUSB_CALL libusb_try_lock_events(libusb_context* context)
{
    CallScope scope(Core::Get().Calls(), Function::k_try_lock_events);
    scope.Begin([](Call&) {});
    context = Core::Get().Resolve(context, "libusb_try_lock_events");
    return scope.End(context ? TryLockEvents(context) : 1);
}

void LIBUSB_CALL libusb_lock_events(libusb_context* context)
{
    CallScope scope(Core::Get().Calls(), Function::k_lock_events);
    scope.Begin([](Call&) {});
    context = Core::Get().Resolve(context, "libusb_lock_events");
    if (context)
        LockEvents(context);
    scope.End();
}

void LIBUSB_CALL libusb_unlock_events(libusb_context* context)
{
    CallScope scope(Core::Get().Calls(), Function::k_unlock_events);
    scope.Begin([](Call&) {});
    context = Core::Get().Resolve(context, "libusb_unlock_events");
    if (context && context->handler.load() == std::this_thread::get_id())
        UnlockEvents(context);
    else if (context)
        Core::Get().ReportMisuse("libusb_unlock_events: the calling thread does not hold the lock");
    scope.End();
}

int LIBUSB_CALL libusb_event_handling_ok(libusb_context* context)
{
    context = Core::Get().Resolve(context, "libusb_event_handling_ok");
    return context && context->closing.load() == 0 ? 1 : 0;
}

int LIBUSB_CALL libusb_event_handler_active(libusb_context* context)
{
    context = Core::Get().Resolve(context, "libusb_event_handler_active");
    return context && (context->closing.load() > 0 || context->handler_active.load()) ? 1 : 0;
}

void LIBUSB_CALL libusb_lock_event_waiters(libusb_context* context)
{
    context = Core::Get().Resolve(context, "libusb_lock_event_waiters");
    if (context)
        context->waiters_lock.lock();
}

void LIBUSB_CALL libusb_unlock_event_waiters(libusb_context* context)
{
    context = Core::Get().Resolve(context, "libusb_unlock_event_waiters");
    if (context)
        context->waiters_lock.unlock();
}

int LIBUSB_CALL libusb_wait_for_event(libusb_context* context, timeval* limit)
{
    CallScope scope(Core::Get().Calls(), Function::k_wait_for_event);
    scope.Begin([](Call&) {});
    context = Core::Get().Resolve(context, "libusb_wait_for_event");
    if (!context)
        return scope.End<int>(LIBUSB_ERROR_INVALID_PARAM);
    const TimeUs deadline = limit ? Deadline(limit) : kNever;
    return scope.End(context->waiters.WaitUntil(context->waiters_lock, deadline) ? 0 : 1);
}

int LIBUSB_CALL libusb_pollfds_handle_timeouts(libusb_context*)
{
    return 1;  // time-outs need no attention of the caller's
}

int LIBUSB_CALL libusb_get_next_timeout(libusb_context*, timeval*)
{
    return 0;
}
}
