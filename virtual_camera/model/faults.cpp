#include "virtual_camera/model/faults.h"

namespace vcam {
namespace {

bool Due(const Fault& fault, std::uint64_t number)
{
    return number >= fault.first && number <= fault.last &&
           (number - fault.first) % fault.step == 0;
}

template <typename T>
bool Agrees(const std::optional<T>& wanted, unsigned value)
{
    return !wanted || *wanted == value;
}

}  // namespace

std::optional<Fault> FaultPlan::Event(FaultPoint point)
{
    std::optional<Fault> found;
    for (Rule& rule : m_rules)
        if (rule.fault.point == point && Due(rule.fault, ++rule.seen) && !found)
            found = rule.fault;
    return found;
}

std::optional<Fault> FaultPlan::ControlEvent(const SetupPacket& setup)
{
    std::optional<Fault> found;
    for (Rule& rule : m_rules) {
        const Fault& fault = rule.fault;
        if (fault.point != FaultPoint::kControl ||
            !Agrees(fault.request_type, setup.request_type) ||
            !Agrees(fault.request, setup.request) || !Agrees(fault.entity, setup.index >> 8U) ||
            !Agrees(fault.selector, setup.value >> 8U))
            continue;
        if (Due(fault, ++rule.seen) && !found)
            found = fault;
    }
    return found;
}

std::optional<Fault> FaultPlan::Time(std::uint64_t milliseconds)
{
    for (Rule& rule : m_rules) {
        if (rule.fault.point != FaultPoint::kTime)
            continue;
        const std::uint64_t due = rule.fault.first + rule.seen * rule.fault.step;
        if (due <= milliseconds && due <= rule.fault.last) {
            ++rule.seen;
            return rule.fault;
        }
    }
    return std::nullopt;
}

}  // namespace vcam
