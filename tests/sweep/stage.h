// What a scenario plays on: the bus with its one device, the phases, the fault
// that strikes in one of them, and the facts that come of it. Lives in a worker
// process of its own.
#ifndef TESTS_SWEEP_STAGE_H
#define TESTS_SWEEP_STAGE_H

#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "tests/sweep/call_table.h"
#include "tests/sweep/facts.h"
#include "tests/sweep/fault.h"
#include "tests/sweep/labels.h"
#include "virtual_camera/model/camera_model.h"

namespace sweep {

class Stage {
public:
    /// `steps` names what the calls after the 1st, 2nd, ... libusb_init are made for.
    Stage(const Fault& fault, std::vector<std::string> steps);
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    void Plug(const vcam::CameraOptions& options);
    /// Calls from here on belong to the phase, until the next one.
    void Begin(const std::string& phase);
    void End() { Begin(""); }

    void Result(const std::string& name, long value) { m_facts.results[name] = value; }
    /// The host's call-back was called.
    void Status(bool ready);
    std::string Statuses() const;
    bool WaitForStatuses(std::size_t count) const;
    /// Until the loader asks whether the camera is there, or has ended.
    void WaitForWatch(std::size_t questions) const;
    void WaitForMoreWatches(std::size_t questions) const { WaitForWatch(Watches() + questions); }
    /// Until the loader has ended, where the camera was unplugged.
    void WaitForUnplug() const;

    /// Counts what is left behind.
    Facts Finish();

private:
    void OnCall(const Call& call);
    std::size_t Watches() const;
    bool LoaderEnded() const;

    const Fault m_fault;
    const std::vector<std::string> m_steps;
    const long m_threads_before;
    const long m_files_before;
    std::shared_ptr<vcam::CameraModel> m_model;

    mutable std::mutex m_mutex;  // guards everything below
    std::string m_phase;
    Labels m_labels;
    std::size_t m_inits = 0;
    std::size_t m_watches = 0;
    pid_t m_loader = 0;  ///< thread that made the first call
    Facts m_facts;
};

}  // namespace sweep

#endif
