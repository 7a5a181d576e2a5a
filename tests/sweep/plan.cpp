#include "tests/sweep/plan.h"

#include "tests/sweep/call_table.h"

namespace sweep {
namespace {

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool IsChosen(const std::string& phase, const Occurrence& occurrence, const Bounds& bounds)
{
    const std::size_t nth = occurrence.nth_of_label;
    if (occurrence.call == "watch")
        return phase == "watch" && nth <= bounds.each;
    const bool streaming =
        occurrence.call == "handle_events_timeout" || EndsWith(occurrence.label, " again");
    if (phase == "watch" || (streaming && phase != "record"))
        return streaming && phase != "watch" && nth <= bounds.each_aside;
    return nth <= bounds.each || nth % bounds.stride == 0;
}

}  // namespace

Plan MakePlan(const std::string& scenario, const std::string& phase, const Facts& undisturbed,
              const Bounds& bounds)
{
    Plan plan;
    const auto calls = undisturbed.calls.find(phase);
    if (calls == undisturbed.calls.end())
        return plan;
    for (const auto& [name, occurrences] : calls->second) {
        const CallRow& row = *FindCall(name.c_str());
        for (std::size_t i = 0; i < occurrences.size(); ++i) {
            if (!IsChosen(phase, occurrences[i], bounds)) {
                ++plan.skipped;
                continue;
            }
            ++plan.occurrences[name];
            const auto add = [&](Kind kind, int code) {
                plan.faults.push_back({scenario, phase, name, i + 1, kind, code});
            };
            for (const int code : row.codes)
                add(Kind::kCode, code);
            for (const int status : row.statuses)
                add(Kind::kCompletion, status);
            if (occurrences[i].in) {
                for (const int length : row.short_replies)
                    add(Kind::kShortReply, length);
            }
            add(Kind::kUnplug, 0);
        }
    }
    return plan;
}

}  // namespace sweep
