#include "runtime/started_threads.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <new>

StartedThreads::Entry* StartedThreads::MakeEntry(const pThread* worker, Ending ending)
{
    Entry* const reserved =
        std::find_if(std::begin(m_reserve), std::end(m_reserve),
                     [](const Entry& entry) { return entry.state == Entry::kFree; });
    Entry* const entry =
        reserved != std::end(m_reserve) ? reserved : new (std::nothrow) Entry;
    if (entry != nullptr)
        *entry = {Entry::kCreated, ending, worker, {}, nullptr};
    return entry;
}

void StartedThreads::DiscardEntry(Entry* entry)
{
    const std::less<const Entry*> before;
    if (before(entry, std::begin(m_reserve)) || !before(entry, std::end(m_reserve)))
        delete entry;
    else
        entry->state = Entry::kFree;
}

void StartedThreads::Add(Entry* entry, pthread_t thread)
{
    entry->thread = thread;
    entry->next = m_first;
    m_first = entry;
}

StartedThreads::Entry** StartedThreads::Find(pthread_t thread)
{
    Entry** link = &m_first;
    while (*link != nullptr && pthread_equal((*link)->thread, thread) == 0)
        link = &(*link)->next;
    return link;
}

StartedThreads::Entry** StartedThreads::Find(const pThread* worker, pthread_t thread)
{
    Entry** link = &m_first;
    while (*link != nullptr &&
           ((*link)->worker != worker || pthread_equal((*link)->thread, thread) == 0))
        link = &(*link)->next;
    return link;
}

void StartedThreads::Unlink(Entry** link)
{
    Entry* const entry = *link;
    if (entry == nullptr)
        return;
    *link = entry->next;
    DiscardEntry(entry);
}

bool StartedThreads::Begin(pthread_t thread)
{
    Entry** const link = Find(thread);
    if (*link == nullptr)
        return true;
    if ((*link)->state == Entry::kCancelled) {
        Unlink(link);
        return false;
    }
    (*link)->state = Entry::kBegun;
    return true;
}

void StartedThreads::End(pthread_t thread)
{
    Entry** const link = Find(thread);
    if (*link == nullptr)
        return;
    if ((*link)->ending == Ending::kForgotten)
        Unlink(link);
    else
        (*link)->state = Entry::kReturned;
}

void StartedThreads::Abandon(const pThread* worker, pthread_t thread)
{
    Entry* const entry = *Find(worker, thread);
    if (entry == nullptr || entry->ending == Ending::kForgotten)
        return;
    entry->ending = Ending::kForgotten;
    pthread_detach(thread);
}

bool StartedThreads::Runs(const pThread* worker, pthread_t thread) const
{
    const Entry* const entry = *const_cast<StartedThreads*>(this)->Find(worker, thread);
    return entry != nullptr && (entry->state == Entry::kCreated || entry->state == Entry::kBegun);
}

void StartedThreads::Cancel(const pThread* worker, pthread_t thread)
{
    Entry** const link = Find(worker, thread);
    if (*link == nullptr)
        return;
    if ((*link)->state == Entry::kBegun) {
        pthread_cancel(thread);
        Unlink(link);
    } else {
        (*link)->state = Entry::kCancelled;
    }
}

void StartedThreads::Remove(const pThread* worker, pthread_t thread)
{
    Unlink(Find(worker, thread));
}
