// Which thread is which: the host's threads say so themselves, the library's
// are known by their first call into libusb.
#ifndef TESTS_PAIRS_CALLERS_H
#define TESTS_PAIRS_CALLERS_H

#include <sys/types.h>

#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "virtual_camera/standin/bus.h"

namespace pairs {

using vcam::standin::Call;

enum class Role {
    kDriver,  ///< drives the scene
    kHost,
    kLoader,
    kEvents,
    kCapture,
};

struct Caller {
    pid_t thread = 0;
    Role role = Role::kHost;
    unsigned number = 0;    ///< the 1st, 2nd, ... of its role
    std::string last_call;  ///< and whether it has returned
    bool finished = false;  ///< a host thread that has nothing more to do
    unsigned answers = 0;   ///< of a loader: how often its watch was answered

    std::string Name() const;
    bool OfLibrary() const { return role != Role::kDriver && role != Role::kHost; }
};

/// The loader's question whether the camera is still there.
bool IsWatch(const Call& call);

class Callers {
public:
    using Listener = std::function<void(const Call&, const Caller&)>;

    /// `before` and `after` are told every call of every thread, and every
    /// completion of a transfer, on the thread itself and without a lock. They
    /// may block. The thread that makes this drives the scene.
    Callers(Listener before, Listener after);
    ~Callers();
    Callers(const Callers&) = delete;
    Callers& operator=(const Callers&) = delete;

    /// The calling thread is the host's from here on, until Finish.
    void JoinAsHost();
    void Finish();
    /// As one of those below; a thread that made no call is a capture thread.
    Caller Me() const;
    std::vector<Caller> All() const;
    unsigned Loaders() const;

private:
    Caller& Add(Role role);
    Caller& Mine(const Call& call);
    void Before(const Call& call);
    void After(const Call& call);

    const Listener m_before;
    const Listener m_after;
    std::vector<int> m_hooks;
    mutable std::mutex m_mutex;  // a leaf; guards the entries
    std::deque<Caller> m_all;    ///< entries stay where they are
};

/// Of the calling thread, as /proc names it.
pid_t ThreadId();

}  // namespace pairs

#endif
