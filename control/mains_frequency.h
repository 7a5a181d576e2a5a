// Mains frequency against flicker.
#ifndef TORVIK_CONTROL_MAINS_FREQUENCY_H
#define TORVIK_CONTROL_MAINS_FREQUENCY_H

/// Processing-unit control of the power line frequency (UVC 1.5, 4.2.2.3.6).
constexpr unsigned kPowerLineFrequencyControl = 5;

/// The host counts 60 Hz first, USB 50 Hz.
struct MainsFrequency {
    int host_value;
    const char* text;
    int control_value;
};

constexpr MainsFrequency kMainsFrequencies[] = {
    {1, "60Hz", 2},
    {2, "50Hz", 1},
};

/// Null for any other value.
inline const MainsFrequency* FindMainsFrequency(int host_value)
{
    for (const MainsFrequency& frequency : kMainsFrequencies) {
        if (frequency.host_value == host_value)
            return &frequency;
    }
    return nullptr;
}

#endif
