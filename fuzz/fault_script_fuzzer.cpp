// Fault scripts of the virtual camera: read, or refused with a message; what was
// read can be played.
//
// input: script
#include <stdexcept>
#include <string>

#include "fuzz/check.h"
#include "fuzz/target.h"
#include "virtual_camera/model/faults.h"

namespace {

constexpr std::uint64_t kEvents = 50;

void Play(const vcam::Script& script)
{
    vcam::FaultPlan plan;
    for (const vcam::Fault& fault : script.faults) {
        FUZZ_CHECK(fault.first >= 1 && fault.step >= 1);
        plan.Add(fault);
    }
    for (std::uint64_t event = 1; event <= kEvents; ++event) {
        for (const vcam::FaultPoint point :
             {vcam::FaultPoint::kContainer, vcam::FaultPoint::kPayload, vcam::FaultPoint::kIso,
              vcam::FaultPoint::kBulkOut}) {
            const auto fault = plan.Event(point);
            FUZZ_CHECK(!fault || (fault->point == point && fault->first <= event &&
                                  event <= fault->last));
        }
        const auto byte = static_cast<std::uint16_t>(event << 8);
        plan.ControlEvent({static_cast<std::uint8_t>(event), 1, byte, byte, 8});
        // Each fault of time shows itself once a millisecond at most.
        for (std::size_t i = 0; plan.Time(event); ++i)
            FUZZ_CHECK(i <= script.faults.size());
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    try {
        Play(vcam::ParseScript(text, vcam::CameraOptions()));
    } catch (const std::invalid_argument& refused) {
        FUZZ_CHECK(std::string(refused.what()).find("line ") == 0);
    }
    return 0;
}
