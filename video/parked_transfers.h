// Completed transfers waiting for the event thread.
#ifndef TORVIK_VIDEO_PARKED_TRANSFERS_H
#define TORVIK_VIDEO_PARKED_TRANSFERS_H

#include <atomic>
#include <libusb.h>

/// A short queue of completed transfers, in order of completion. A transfer
/// that is parked is not in flight, so there are never more than a stream has.
/// Not locked, its owner does that; only IsEmpty may be asked without the lock.
class ParkedTransfers
{
public:
    static constexpr unsigned kCapacity = 3;

    void PushBack(libusb_transfer* transfer)
    {
        if (m_count < kCapacity)
            m_transfers[m_count++] = transfer;
    }

    void PushFront(libusb_transfer* transfer)
    {
        if (m_count == kCapacity)
            return;
        for (unsigned i = m_count++; i > 0; --i)
            m_transfers[i] = m_transfers[i - 1];
        m_transfers[0] = transfer;
    }

    /// The oldest, or null.
    libusb_transfer* PopFront()
    {
        if (m_count == 0)
            return nullptr;
        libusb_transfer* const first = m_transfers[0];
        --m_count;
        for (unsigned i = 0; i < m_count; ++i)
            m_transfers[i] = m_transfers[i + 1];
        return first;
    }

    void Clear() { m_count = 0; }
    bool IsEmpty() const { return m_count == 0; }

private:
    libusb_transfer* m_transfers[kCapacity] = {};  ///< under the owner's lock
    std::atomic<unsigned> m_count{0};              ///< atomic; changed under it
};

#endif
