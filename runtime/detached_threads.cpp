#include "runtime/detached_threads.h"

DetachedThreads::Entry** DetachedThreads::Find(pthread_t thread)
{
    Entry** link = &m_first;
    while (*link != nullptr && pthread_equal((*link)->thread, thread) == 0)
        link = &(*link)->next;
    return link;
}

void DetachedThreads::Remove(Entry** link)
{
    Entry* const entry = *link;
    if (entry == nullptr)
        return;
    *link = entry->next;
    delete entry;
}

bool DetachedThreads::Begin(pthread_t thread)
{
    Entry** const link = Find(thread);
    if (*link == nullptr)
        return true;
    if ((*link)->state == kCancelled) {
        Remove(link);
        return false;
    }
    (*link)->state = kBegun;
    return true;
}

void DetachedThreads::Cancel(pthread_t thread)
{
    Entry** const link = Find(thread);
    if (*link == nullptr)
        return;
    if ((*link)->state == kBegun) {
        pthread_cancel(thread);
        Remove(link);
    } else {
        (*link)->state = kCancelled;
    }
}
