// The fault sweep: every libusb call of the driver's life fails, in turn, in
// every way it can.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <memory>

#include "api/torvik_camera.h"
#include "tests/support/tv_root.h"
#include "tests/sweep/judge.h"
#include "tests/sweep/plan.h"
#include "tests/sweep/scenario.h"
#include "tests/sweep/worker.h"
#include "virtual_camera/model/camera_model.h"
#include "virtual_camera/standin/bus.h"

namespace {

using namespace sweep;

struct Totals {
    std::map<std::string, std::size_t> occurrences;
    std::size_t skipped = 0;
    std::set<std::string> codes;  ///< pairs of call and code
    std::size_t tried = 0;
    std::size_t not_reached = 0;
    std::size_t crashes = 0;
    std::size_t hangs = 0;
    std::size_t leaks = 0;
    std::size_t wrong = 0;

    bool Good() const { return crashes + hangs + leaks + wrong == 0 && tried > 0; }
};

void Print(const Totals& totals)
{
    std::size_t occurrences = 0;
    for (const auto& [name, count] : totals.occurrences) {
        std::printf("  %-28s %5zu occurrences\n", name.c_str(), count);
        occurrences += count;
    }
    std::printf("%zu calls x %zu occurrences x %zu ways to fail: %zu faults tried\n",
                totals.occurrences.size(), occurrences, totals.codes.size(), totals.tried);
    std::printf("(%zu later repetitions left out; %zu faults came too late for their phase)\n",
                totals.skipped, totals.not_reached);
    std::printf("%zu crashes, %zu hangs, %zu leaks, %zu wrong reports\n", totals.crashes,
                totals.hangs, totals.leaks, totals.wrong);
}

void Count(const Run& run, const Run& undisturbed, Totals& totals, bool show_all)
{
    totals.tried += run.facts.injected;
    totals.codes.insert(run.fault.call + " " + NameOf(run.fault.kind) + " " +
                        std::to_string(run.fault.code));
    const Verdict verdict = Judge(run, undisturbed.facts);
    totals.not_reached += verdict.not_reached;
    totals.crashes += verdict.crashed;
    totals.hangs += verdict.hung;
    totals.leaks += !verdict.leaks.empty();
    totals.wrong += !verdict.wrong.empty();
    if (!verdict.Good() || show_all)
        std::printf("%s\n", verdict.Describe(run).c_str());
}

}  // namespace

int main(int argc, char** argv)
{
    CLI::App app("Fails every libusb call of the driver in turn");
    std::string only_scenario;
    std::string only_phase;
    std::string one;
    unsigned parallel = 12;
    unsigned limit = 60;
    bool verbose = false;
    bool list = false;
    app.add_option("--scenario", only_scenario, "one scenario");
    app.add_option("--phase", only_phase, "one phase of it");
    app.add_option("--case", one, "one fault, as it is printed; shows the log");
    app.add_option("--parallel", parallel, "workers at a time");
    app.add_option("--limit", limit, "seconds after which a worker counts as hung");
    app.add_flag("--verbose", verbose, "tell about every fault");
    app.add_flag("--list", list, "list the calls of the undisturbed runs");
    Bounds bounds;
    app.add_option("--each", bounds.each, "repetitions disturbed one by one, and the stride of the rest");
    CLI11_PARSE(app, argc, argv);
    bounds.stride = std::max<std::size_t>(bounds.each, 40);
    bounds.each_aside = std::min(bounds.each, bounds.each_aside);

    using test_support::TvRoot;
    if (!TvRoot::Enter(argv)) {
        std::fprintf(stderr, "no private root directory: %s\n", TvRoot::Problem().c_str());
        return 1;
    }
    vcam::standin::Bus::Instance().MarkConfigured();
    // Read once; every worker's camera shares it.
    const vcam::CameraModel media;
    cam_version();

    Totals totals;
    Workers workers(parallel, std::chrono::seconds(limit));
    const Fault single = one.empty() ? Fault{} : Fault::Parse(one);
    if (!one.empty()) {
        only_scenario = single.scenario;
        only_phase = single.phase;
    }
    for (const Scenario& scenario : Scenarios()) {
        if (!only_scenario.empty() && only_scenario != scenario.name)
            continue;
        scenario.prepare();
        Run undisturbed;
        workers.RunAll({Fault{scenario.name, "", "", 0, Kind::kNone, 0}},
                       [&](const Run& run) { undisturbed = run; });
        const Verdict verdict = JudgeUndisturbed(undisturbed);
        if (!verdict.Good()) {
            std::printf("%s\n", verdict.Describe(undisturbed).c_str());
            return 1;
        }
        for (const std::string& phase : scenario.swept) {
            if (!only_phase.empty() && only_phase != phase)
                continue;
            Plan plan = MakePlan(scenario.name, phase, undisturbed.facts, bounds);
            if (list) {
                for (const auto& [name, calls] : undisturbed.facts.calls[phase]) {
                    for (const Occurrence& call : calls)
                        std::printf("%s/%s %s [%s] %s #%zu\n", scenario.name, phase.c_str(),
                                    name.c_str(), call.step.c_str(), call.label.c_str(),
                                    call.nth_of_label);
                }
                std::printf("%s/%s: %zu faults\n", scenario.name, phase.c_str(),
                            plan.faults.size());
                continue;
            }
            if (!one.empty())
                plan.faults = {single};
            for (const auto& [name, count] : plan.occurrences)
                totals.occurrences[name] += count;
            totals.skipped += plan.skipped;
            workers.RunAll(plan.faults, [&](const Run& run) {
                Count(run, undisturbed, totals, verbose || !one.empty());
                if (!one.empty())
                    std::fwrite(run.facts.log.data(), 1, run.facts.log.size(), stdout);
            });
        }
    }
    if (list)
        return 0;
    Print(totals);
    return totals.Good() ? 0 : 1;
}
