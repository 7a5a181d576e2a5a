// What is left open and what was done wrong.
#include <sstream>

#include "virtual_camera/standin/core.h"

namespace vcam::standin {

bool Counters::AllZero() const
{
    return contexts == 0 && handles == 0 && claimed_interfaces == 0 && transfers == 0 &&
           transfers_in_flight == 0 && device_references == 0 && device_lists == 0 &&
           config_descriptors == 0;
}

std::string Counters::ToString() const
{
    std::ostringstream text;
    text << contexts << " contexts, " << handles << " handles, " << claimed_interfaces
         << " claimed interfaces, " << transfers << " transfers (" << transfers_in_flight
         << " in flight), " << device_references << " device references, " << device_lists
         << " device lists, " << config_descriptors << " configuration descriptors";
    return text.str();
}

Counters Core::Count() const
{
    auto& self = const_cast<Core&>(*this);
    Lock lock(self.m_mutex);
    Counters counters;
    for (const auto& context : m_contexts)
        counters.contexts += context->open ? 1 : 0;
    for (const auto& device : m_devices)
        counters.device_references += device->references;
    for (const auto& handle : m_handles) {
        if (!handle->open)
            continue;
        ++counters.handles;
        for (const Interface& interface : handle->device->connection->interfaces)
            counters.claimed_interfaces += interface.claimed_by == handle.get() ? 1 : 0;
    }
    for (libusb_transfer* transfer : m_transfers) {
        if (Private(transfer).internal)
            continue;
        ++counters.transfers;
        counters.transfers_in_flight += Private(transfer).in_flight ? 1 : 0;
    }
    counters.device_lists = device_lists;
    counters.config_descriptors = config_descriptors;
    return counters;
}

std::vector<std::string> Core::Misuse() const
{
    std::lock_guard<std::mutex> guard(m_misuse_mutex);
    return m_misuse;
}

void Core::ClearMisuse()
{
    std::lock_guard<std::mutex> guard(m_misuse_mutex);
    m_misuse.clear();
}

void Core::ReportMisuse(std::string text)
{
    std::lock_guard<std::mutex> guard(m_misuse_mutex);
    m_misuse.push_back(std::move(text));
}

}  // namespace vcam::standin
