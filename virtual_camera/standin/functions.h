// Every libusb function that can be counted, failed and hooked by name.
#ifndef VIRTUAL_CAMERA_STANDIN_FUNCTIONS_H
#define VIRTUAL_CAMERA_STANDIN_FUNCTIONS_H

#define VCAM_STANDIN_FUNCTIONS(X)                                                            \
    X(init) X(exit) X(get_device_list) X(free_device_list) X(ref_device) X(unref_device)     \
    X(get_device_descriptor) X(get_device) X(open) X(open_device_with_vid_pid) X(close)      \
    X(get_configuration) X(set_configuration) X(kernel_driver_active)                        \
    X(detach_kernel_driver) X(attach_kernel_driver) X(set_auto_detach_kernel_driver)         \
    X(claim_interface) X(release_interface) X(set_interface_alt_setting) X(clear_halt)       \
    X(reset_device) X(get_max_packet_size) X(get_max_iso_packet_size) X(control_transfer)    \
    X(bulk_transfer) X(interrupt_transfer) X(alloc_transfer) X(submit_transfer)              \
    X(cancel_transfer) X(free_transfer) X(handle_events) X(handle_events_timeout)            \
    X(handle_events_timeout_completed) X(handle_events_completed) X(handle_events_locked)    \
    X(interrupt_event_handler) X(try_lock_events) X(lock_events) X(unlock_events)            \
    X(wait_for_event) X(get_active_config_descriptor) X(get_config_descriptor)               \
    X(get_config_descriptor_by_value) X(free_config_descriptor)                              \
    X(get_string_descriptor_ascii)

namespace vcam::standin {

enum class Function {
#define VCAM_STANDIN_ENUMERATOR(name) k_##name,
    VCAM_STANDIN_FUNCTIONS(VCAM_STANDIN_ENUMERATOR)
#undef VCAM_STANDIN_ENUMERATOR
    kCount,
    kCompletion = kCount,  ///< a transfer's call-back: only logged and hooked
};

constexpr bool OnlyHandlesEvents(Function function)
{
    switch (function) {
    case Function::k_handle_events:
    case Function::k_handle_events_timeout:
    case Function::k_handle_events_timeout_completed:
    case Function::k_handle_events_completed:
    case Function::k_handle_events_locked:
    case Function::k_try_lock_events:
    case Function::k_lock_events:
    case Function::k_unlock_events:
    case Function::k_wait_for_event:
    case Function::kCompletion:
        return true;
    default:
        return false;
    }
}

}  // namespace vcam::standin

#endif
