#include "control/capabilities.h"

#include "runtime/debug_log.h"

namespace {

constexpr char kFunction[] = "GetCapability";

enum class Answer { kNo, kYes, kSignalType, kNotSupported };

constexpr Answer kAnswers[] = {
    Answer::kNo,            // 0
    Answer::kYes,           // 1
    Answer::kSignalType,    // 2
    Answer::kYes,           // 3
    Answer::kNotSupported,  // 4
    Answer::kNotSupported,  // 5
    Answer::kNotSupported,  // 6
    Answer::kYes,           // 7
    Answer::kYes,           // 8
    Answer::kNo,            // 9
    Answer::kNotSupported,  // 10
    Answer::kYes,           // 11
};

}  // namespace

bool AnswerCapability(CameraSettings& settings, CAM_CAPABILITY capability)
{
    constexpr unsigned kCount = sizeof kAnswers / sizeof kAnswers[0];
    CAM_LOG_AS(kFunction, kLogInfo, "CKelVeskCamera::GetCapability %d\r\n",
               static_cast<int>(capability));
    switch (capability < kCount ? kAnswers[capability] : Answer::kNotSupported) {
    case Answer::kYes:
        return true;
    case Answer::kNo:
        return false;
    case Answer::kSignalType:
        if (!settings.offers_signal_types)
            return false;
        settings.use_signal_type = 1;
        CAM_LOG_AS(kFunction, kLogDebugging, "Enable CAM_SIGNAL_TYPE mode \r\n");
        return true;
    case Answer::kNotSupported:
        break;
    }
    CAM_LOG_AS(kFunction, kLogFatal, "Not supported camera capability %d\n",
               static_cast<int>(capability));
    return false;
}
