#include "virtual_camera/standin/core.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace vcam::standin {

Core& Core::Get()
{
    // Never destroyed: threads and atexit functions may still use it.
    static Core* const core = [] {
        auto* made = new Core;
        if (std::getenv("VCAM_STANDIN_REPORT"))
            std::atexit([] {
                std::fprintf(stderr, "usb stand-in, left open: %s\n",
                             Get().Count().ToString().c_str());
                for (const std::string& line : Get().Misuse())
                    std::fprintf(stderr, "usb stand-in, misuse: %s\n", line.c_str());
            });
        return made;
    }();
    return *core;
}

void Core::Attach(std::shared_ptr<UsbDevice> device, AttachOptions options)
{
    device->SetWakeUp([] { Core::Get().WakeAll(); });
    {
        Lock lock(m_mutex);
        m_configured = true;
        m_slots.push_back({std::move(device), options, nullptr});
        Refresh(Now());
    }
    WakeAll();
}

void Core::Detach(const UsbDevice* device)
{
    {
        Lock lock(m_mutex);
        for (Slot& slot : m_slots)
            if (slot.device.get() == device)
                Unplug(slot);
        m_slots.erase(std::remove_if(m_slots.begin(), m_slots.end(),
                                     [device](const Slot& slot) {
                                         return slot.device.get() == device;
                                     }),
                      m_slots.end());
    }
    WakeAll();
}

void Core::DetachAll()
{
    {
        Lock lock(m_mutex);
        for (Slot& slot : m_slots)
            Unplug(slot);
        m_slots.clear();
    }
    WakeAll();
}

void Core::MarkConfigured()
{
    Lock lock(m_mutex);
    m_configured = true;
}

void Core::PopulateOnce()
{
    {
        Lock lock(m_mutex);
        if (m_configured)
            return;
        m_configured = true;
    }
    PopulateBus(Bus::Instance());
}

void Core::Unplug(Slot& slot)
{
    if (!slot.connection)
        return;
    Connection& connection = *slot.connection;
    connection.gone = true;
    for (const auto& queue : std::map<std::uint8_t, std::vector<Transfer*>>(connection.queues))
        for (Transfer* transfer : queue.second)
            Finish(*transfer, LIBUSB_TRANSFER_NO_DEVICE, 0);
    connection.device.reset();
    slot.connection.reset();
}

void Core::Refresh(TimeUs now)
{
    for (Slot& slot : m_slots) {
        const bool attached = slot.device->Attached(now);
        if (slot.connection && !attached)
            Unplug(slot);
        // It may have left and come back unseen.
        if (slot.connection && slot.connection->session != slot.device->Session(now))
            Unplug(slot);
        if (!slot.connection && attached) {
            slot.connection = Connect(slot.device, ++m_last_address, slot.options.kernel_drivers);
            slot.connection->session = slot.device->Session(now);
        }
    }
}

libusb_context* Core::Open(bool as_default)
{
    libusb_context* context = nullptr;
    {
        Lock lock(m_mutex);
        if (as_default && m_default_context) {
            ++m_default_context->default_users;
            return m_default_context;
        }
        m_contexts.push_back(std::make_unique<libusb_context>());
        context = m_contexts.back().get();
        if (as_default) {
            context->default_users = 1;
            m_default_context = context;
        }
    }
    std::lock_guard<std::mutex> guard(m_wake_mutex);
    m_wake_targets.push_back(context);
    return context;
}

void Core::Close(libusb_context* context)
{
    {
        Lock lock(m_mutex);
        if (context == m_default_context) {
            if (--context->default_users > 0)
                return;
            m_default_context = nullptr;
        }
        const auto open_handles =
            std::count_if(m_handles.begin(), m_handles.end(), [context](const auto& handle) {
                return handle->open && handle->context == context;
            });
        if (open_handles > 0)
            ReportMisuse("libusb_exit: " + std::to_string(open_handles) + " handles still open");
        if (!context->flying.empty())
            ReportMisuse("libusb_exit: " + std::to_string(context->flying.size()) +
                         " transfers still in flight");
        context->open = false;
    }
    std::lock_guard<std::mutex> guard(m_wake_mutex);
    m_wake_targets.erase(std::remove(m_wake_targets.begin(), m_wake_targets.end(), context),
                         m_wake_targets.end());
}

libusb_context* Core::Resolve(libusb_context* context, const char* function)
{
    Lock lock(m_mutex);
    libusb_context* const resolved = context ? context : m_default_context;
    if (resolved && resolved->open)
        return resolved;
    ReportMisuse(std::string(function) + (resolved ? ": the context is closed"
                                                   : ": there is no default context"));
    return nullptr;
}

std::vector<libusb_device*> Core::ListDevices(libusb_context* context)
{
    Refresh(Now());
    std::vector<libusb_device*> list;
    for (const Slot& slot : m_slots) {
        if (!slot.connection)
            continue;
        const auto known = std::find_if(
            context->devices.begin(), context->devices.end(),
            [&slot](const libusb_device* device) { return device->connection == slot.connection; });
        if (known != context->devices.end()) {
            list.push_back(*known);
            continue;
        }
        m_devices.push_back(std::make_unique<libusb_device>());
        libusb_device* const made = m_devices.back().get();
        made->context = context;
        made->connection = slot.connection;
        context->devices.push_back(made);
        list.push_back(made);
    }
    return list;
}

void Core::Reference(libusb_device* device)
{
    ++device->references;
}

void Core::Unreference(libusb_device* device, const char* function)
{
    if (device->references <= 0)
        ReportMisuse(std::string(function) + ": the device has no reference left");
    else
        --device->references;
}

libusb_device_handle* Core::OpenDevice(libusb_device* device)
{
    m_handles.push_back(std::make_unique<libusb_device_handle>());
    libusb_device_handle* const handle = m_handles.back().get();
    handle->device = device;
    handle->context = device->context;
    Reference(device);
    return handle;
}

void Core::ReleaseInterface(Connection& connection, Interface& interface)
{
    interface.claimed_by = nullptr;
    if (!connection.gone && connection.default_pipe->CurrentSetting(interface.number) != 0)
        connection.default_pipe->SelectSetting(interface.number, 0, Now());
}

void Core::CloseHandle(libusb_device_handle* handle)
{
    std::vector<Transfer*> left;
    for (Transfer* transfer : handle->context->flying)
        if (transfer->handle == handle)
            left.push_back(transfer);
    if (!left.empty())
        ReportMisuse("libusb_close: " + std::to_string(left.size()) + " transfers still in flight");
    for (Transfer* transfer : left)
        Drop(*transfer);
    Connection& connection = *handle->device->connection;
    for (Interface& interface : connection.interfaces)
        if (interface.claimed_by == handle)
            ReleaseInterface(connection, interface);
    handle->open = false;
    Unreference(handle->device, "libusb_close");
}

bool Core::CheckOpen(const libusb_device_handle* handle, const char* function)
{
    if (handle && handle->open)
        return true;
    ReportMisuse(std::string(function) + (handle ? ": the handle is closed" : ": null handle"));
    return false;
}

TransferStatus Core::CallDevice(Lock& lock, const std::shared_ptr<Connection>& connection,
                                const std::function<TransferResult(UsbDevice&, TimeUs)>& request)
{
    constexpr TimeUs kSystemTimeOut = 5000000;
    const TimeUs deadline = After(Now(), kSystemTimeOut);
    for (;;) {
        const std::uint64_t seen = m_direct_wake.Value();
        const TimeUs now = Now();
        Refresh(now);
        if (connection->gone)
            return TransferStatus::kNoDevice;
        TransferResult result = request(*connection->device, now);
        const bool silent = result.status == TransferStatus::kTimeout;
        if (!silent && result.status != TransferStatus::kNotReady)
            return result.status;
        if (now >= deadline)
            return TransferStatus::kTimeout;
        lock.unlock();
        m_direct_wake.WaitWhile(seen, silent ? deadline : std::min(result.ready_at, deadline));
        lock.lock();
        if (silent && Now() >= deadline)
            return TransferStatus::kTimeout;
    }
}

void Core::WakeAll()
{
    m_direct_wake.Bump();
    std::lock_guard<std::mutex> guard(m_wake_mutex);
    for (libusb_context* context : m_wake_targets)
        context->wake.Bump();
}

}  // namespace vcam::standin
