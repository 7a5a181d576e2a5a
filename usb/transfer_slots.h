// The life of asynchronous transfers, told once for both transports.
#ifndef TORVIK_USB_TRANSFER_SLOTS_H
#define TORVIK_USB_TRANSFER_SLOTS_H

#include <atomic>
#include <cstddef>
#include <libusb.h>
#include <memory>

#include "runtime/deadline.h"
#include "usb/camera_device.h"

/// A transfer, its buffer, and where it stands:
///
///     idle        nobody but its slot knows it; may be filled in, submitted, freed
///     in flight   libusb writes into it; nobody touches it
///     abandoned   in flight, and its slot has given it up: it belongs to nobody,
///                 and its completion frees it
///
///     state      event             action                   next
///     idle       submit            libusb takes it          in flight
///     in flight  refused           -                        idle
///     in flight  completion        the transport handles it idle
///     in flight  abandon           the slot forgets it      abandoned
///     abandoned  completion        freed                    -
///     idle       free, abandon     freed                    -
///
/// A completion that never comes leaves an abandoned transfer allocated: freeing
/// it would let libusb write into freed memory.
///
/// Base of what a transport's completions find as user data.
class SlottedTransfer
{
public:
    virtual ~SlottedTransfer();
    SlottedTransfer(const SlottedTransfer&) = delete;
    SlottedTransfer& operator=(const SlottedTransfer&) = delete;

    unsigned Index() const { return m_index; }  ///< of its slot
    libusb_transfer* Transfer() const { return m_transfer; }
    unsigned char* Buffer() const { return m_buffer; }

    /// Uninitialised, for the transport to fill in; false without memory.
    bool AllocateBuffer(std::size_t size);

protected:
    explicit SlottedTransfer(unsigned index) : m_index(index) {}

private:
    friend class TransferSlots;
    enum class State { kIdle, kInFlight, kAbandoned };

    // Constant from the allocation to the end.
    const unsigned m_index;
    libusb_transfer* m_transfer = nullptr;
    unsigned char* m_buffer = nullptr;
    // Atomic: says whose the buffer's content is.
    std::atomic<State> m_state{State::kIdle};
};

/// Owns the transfers of one stream. The transport holds its own lock around
/// every change of the slots; states change under it or in completions, and may
/// be asked for anywhere.
class TransferSlots
{
public:
    static constexpr unsigned kCapacity = 3;

    /// Empty slots. `device` is where the transfers go; it must outlive them.
    explicit TransferSlots(CameraDevice& device) : m_device(device) {}
    TransferSlots(const TransferSlots&) = delete;
    TransferSlots& operator=(const TransferSlots&) = delete;
    /// The owner has freed or abandoned everything before.
    ~TransferSlots() = default;

    /// Puts a transfer with room for `iso_packets` into its empty slot.
    ///
    /// @param made  null is taken for a failed allocation
    /// @return false without memory; the slot is empty then
    bool Allocate(std::unique_ptr<SlottedTransfer> made, int iso_packets);
    /// @return null for an empty slot
    SlottedTransfer* At(unsigned index) const { return m_slots[index]; }
    bool IsIdle(unsigned index) const;
    bool AnyInFlight() const;

    /// @return libusb's result; a transfer that is refused is idle again
    int Submit(SlottedTransfer& transfer);
    /// Asks libusb to cancel; the completion comes all the same.
    void Cancel(unsigned index);
    /// Frees an idle transfer and empties its slot.
    void Free(unsigned index);
    /// Frees what is idle.
    void FreeIdle();
    /// Frees what is idle and gives up the rest: afterwards every slot is empty.
    void Abandon();

    /// Calls `pass` until nothing is in flight, for a limited time: a device that
    /// went silent never completes.
    template <typename Pass>
    void WaitUntilIdle(Pass pass) const
    {
        const Deadline deadline(kSettleLimitMs);
        while (AnyInFlight() && !deadline.Passed())
            pass();
    }

    /// First thing in every completion: whose transfer this is. Null when it is
    /// nobody's; one that was abandoned is freed then.
    static SlottedTransfer* Completed(libusb_transfer* transfer);
    /// The transport is about to handle the completion.
    ///
    /// @return false when the transfer was abandoned meanwhile; it is freed then
    static bool SetIdle(SlottedTransfer& transfer);

private:
    static constexpr int kSettleLimitMs = 1000;

    CameraDevice& m_device;
    SlottedTransfer* m_slots[kCapacity] = {};  ///< under the owner's lock
};

#endif
