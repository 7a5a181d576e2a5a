// Sleeping for a fixed time.
#ifndef TORVIK_RUNTIME_SLEEP_H
#define TORVIK_RUNTIME_SLEEP_H

/// Sleeps the whole time even when signals interrupt it.
void SleepMicroseconds(unsigned long microseconds);

inline void SleepMilliseconds(unsigned long milliseconds)
{
    SleepMicroseconds(milliseconds * 1000UL);
}

inline void SleepSeconds(unsigned long seconds)
{
    SleepMicroseconds(seconds * 1000000UL);
}

#endif
