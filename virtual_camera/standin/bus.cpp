#include "virtual_camera/standin/bus.h"

#include <libusb.h>

#include "virtual_camera/standin/core.h"

namespace vcam::standin {

namespace {

constexpr std::uint16_t kMicro = 26;

const libusb_version* MakeVersion(std::uint16_t micro, std::uint16_t nano)
{
    return new libusb_version{1, 0, micro, nano, "", "simulated bus"};
}

/// Never destroyed: exit handlers may still ask.
std::unique_ptr<const libusb_version>& HeldVersion()
{
    static auto* const held =
        new std::unique_ptr<const libusb_version>(MakeVersion(kMicro, 0));
    return *held;
}

}  // namespace

Bus::Bus() : m_core(Core::Get()) {}

void Bus::SetVersion(std::uint16_t micro, std::uint16_t nano)
{
    HeldVersion().reset(MakeVersion(micro, nano));
}

const libusb_version* Bus::Version() const
{
    return HeldVersion().get();
}

Bus& Bus::Instance()
{
    static Bus* const bus = new Bus;  // outlives every user, as Core does
    return *bus;
}

void Bus::Attach(std::shared_ptr<UsbDevice> device, AttachOptions options)
{
    m_core.Attach(std::move(device), options);
}

void Bus::Detach(const std::shared_ptr<UsbDevice>& device)
{
    m_core.Detach(device.get());
}

void Bus::DetachAll()
{
    m_core.DetachAll();
}

void Bus::MarkConfigured()
{
    m_core.MarkConfigured();
}

standin::Counters Bus::Counters() const
{
    return m_core.Count();
}

std::vector<std::string> Bus::Misuse() const
{
    return m_core.Misuse();
}

void Bus::ClearMisuse()
{
    m_core.ClearMisuse();
}

std::size_t Bus::CallCount(const std::string& function) const
{
    return m_core.Calls().CallCount(function);
}

void Bus::ResetCallCounts()
{
    m_core.Calls().ResetCounts();
}

bool Bus::WaitForCalls(const std::string& function, std::size_t count,
                       std::chrono::milliseconds limit) const
{
    return m_core.Calls().WaitForCalls(function, count, limit);
}

void Bus::EnableCallLog(bool with_event_calls)
{
    m_core.Calls().EnableLog(with_event_calls);
}

void Bus::DisableCallLog()
{
    m_core.Calls().DisableLog();
}

void Bus::ClearCallLog()
{
    m_core.Calls().ClearLog();
}

std::vector<Call> Bus::CallLog() const
{
    return m_core.Calls().Log();
}

std::vector<std::string> Bus::Functions()
{
    std::vector<std::string> names;
    for (int i = 0; i < static_cast<int>(Function::kCount); ++i)
        names.emplace_back(NameOf(static_cast<Function>(i)));
    return names;
}

void Bus::FailCall(const std::string& function, std::size_t nth, int code, CallPredicate matches)
{
    m_core.Calls().FailCall(function, nth, code, std::move(matches));
}

void Bus::ShortenControlReply(std::size_t nth, std::size_t bytes, CallPredicate matches)
{
    m_core.Calls().ShortenReply(nth, bytes, std::move(matches));
}

void Bus::OverrideCompletion(std::size_t nth, CompletionOverride result, CallPredicate matches)
{
    m_core.Calls().Override(nth, std::move(result), std::move(matches));
}

void Bus::ClearRules()
{
    m_core.Calls().ClearRules();
}

int Bus::OnCall(const std::string& function, When when, CallHook hook)
{
    return m_core.Calls().AddHook(function, when, std::move(hook));
}

void Bus::RemoveHook(int id)
{
    m_core.Calls().RemoveHook(id);
}

void Bus::Reset()
{
    DetachAll();
    SetVersion(kMicro, 0);
    Trace& calls = m_core.Calls();
    calls.ClearRules();
    calls.ClearHooks();
    calls.DisableLog();
    calls.ClearLog();
    calls.ResetCounts();
    ClearMisuse();
}

}  // namespace vcam::standin
