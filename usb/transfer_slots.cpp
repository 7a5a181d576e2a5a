#include "usb/transfer_slots.h"

#include <algorithm>
#include <iterator>
#include <new>

SlottedTransfer::~SlottedTransfer()
{
    delete[] m_buffer;
    if (m_transfer != nullptr)
        libusb_free_transfer(m_transfer);
}

bool SlottedTransfer::AllocateBuffer(std::size_t size)
{
    m_buffer = new (std::nothrow) unsigned char[size];
    return m_buffer != nullptr;
}

bool TransferSlots::Allocate(std::unique_ptr<SlottedTransfer> made, int iso_packets)
{
    if (made == nullptr)
        return false;
    made->m_transfer = libusb_alloc_transfer(iso_packets);
    if (made->m_transfer == nullptr)
        return false;
    made->m_transfer->user_data = made.get();
    const unsigned index = made->m_index;
    m_slots[index] = made.release();
    return true;
}

bool TransferSlots::IsIdle(unsigned index) const
{
    return m_slots[index] != nullptr &&
           m_slots[index]->m_state.load(std::memory_order_acquire) == SlottedTransfer::State::kIdle;
}

bool TransferSlots::AnyInFlight() const
{
    return std::any_of(std::begin(m_slots), std::end(m_slots), [](const SlottedTransfer* slot) {
        return slot != nullptr && slot->m_state.load(std::memory_order_acquire) ==
                                      SlottedTransfer::State::kInFlight;
    });
}

int TransferSlots::Submit(SlottedTransfer& transfer)
{
    // Set first: the completion may run on another thread before submit returns.
    transfer.m_state.store(SlottedTransfer::State::kInFlight, std::memory_order_release);
    const int result = m_device.Heed(libusb_submit_transfer(transfer.m_transfer));
    if (result < 0)
        transfer.m_state.store(SlottedTransfer::State::kIdle, std::memory_order_release);
    return result;
}

void TransferSlots::Cancel(unsigned index)
{
    if (m_slots[index] != nullptr)
        m_device.Heed(libusb_cancel_transfer(m_slots[index]->m_transfer));
}

void TransferSlots::Free(unsigned index)
{
    delete m_slots[index];
    m_slots[index] = nullptr;
}

void TransferSlots::FreeIdle()
{
    for (unsigned i = 0; i < kCapacity; ++i) {
        if (IsIdle(i))
            Free(i);
    }
}

void TransferSlots::Abandon()
{
    for (SlottedTransfer*& slot : m_slots) {
        if (slot == nullptr)
            continue;
        auto in_flight = SlottedTransfer::State::kInFlight;
        if (!slot->m_state.compare_exchange_strong(in_flight, SlottedTransfer::State::kAbandoned))
            delete slot;
        slot = nullptr;
    }
}

SlottedTransfer* TransferSlots::Completed(libusb_transfer* transfer)
{
    auto* const owned = static_cast<SlottedTransfer*>(transfer->user_data);
    if (owned != nullptr && owned->m_state.load(std::memory_order_acquire) ==
                                SlottedTransfer::State::kAbandoned) {
        delete owned;
        return nullptr;
    }
    return owned;
}

bool TransferSlots::SetIdle(SlottedTransfer& transfer)
{
    if (transfer.m_state.exchange(SlottedTransfer::State::kIdle) !=
        SlottedTransfer::State::kAbandoned)
        return true;
    delete &transfer;
    return false;
}
