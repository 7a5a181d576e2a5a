#include "tests/pairs/operation.h"

#include <libusb.h>

#include "tests/pairs/scene.h"

namespace pairs {
namespace {

bool NoOthers(const Scene&, const Caller&, const Call&)
{
    return false;
}

/// Everything that loaders do which were not there before.
bool NewLoaders(const Scene& scene, const Caller& who, const Call&)
{
    return who.role == Role::kLoader && who.number > scene.LoadersBefore();
}

/// What loaders do from the call-back on that calls Init again.
bool LoadersOfRetry(const Scene& scene, const Caller& who, const Call&)
{
    return who.role == Role::kLoader && scene.Retried();
}

/// What the loader that watched does from the answer on that the camera is gone.
bool LoaderThatWatched(const Scene& scene, const Caller& who, const Call&)
{
    return who.role == Role::kLoader && who.number <= scene.LoadersBefore() && scene.LossSeen();
}

/// Transfers that end because the camera is gone.
bool LostTransfers(const Scene&, const Caller&, const Call& call)
{
    return call.function == "completion" && call.status == LIBUSB_TRANSFER_NO_DEVICE;
}

Result RunInit(Scene& scene, Part)
{
    scene.Init();
    return kNothing;
}

Result RunRetry(Scene& scene, Part part)
{
    scene.AllowRetry();
    if (part == Part::kHeld && scene.Began() == kRecording)
        scene.Unplug();  // the loader tells the call-back
    else
        scene.Init();
    return kNothing;
}

Result RunStart(Scene& scene, Part)
{
    return scene.Camera().StartRecording() ? kTrue : kFalse;
}

Result RunStop(Scene& scene, Part)
{
    return scene.Camera().StopRecording() ? kTrue : kFalse;
}

Result RunRestart(Scene& scene, Part)
{
    return scene.SetNewResolution() ? kTrue : kFalse;
}

Result RunUnplug(Scene& scene, Part)
{
    scene.Unplug();
    return kNothing;
}

Result RunReplug(Scene& scene, Part)
{
    scene.Unplug();
    scene.Replug();
    return kNothing;
}

Result RunDestroy(Scene& scene, Part)
{
    scene.Destroy();
    return kNothing;
}

Result RunDownload(Scene& scene, Part part)
{
    if (part == Part::kOther)
        scene.PlugInBootLoader();
    scene.Init();
    return kNothing;
}

Result RunVersion(Scene& scene, Part)
{
    CAM_PROP_VALUE record{-1, {0, 0}};
    const bool result = scene.Camera().GetProperty(CAM_PROPERTY_CONNECTION_CHECK, &record);
    return result && (record.value == 0 || record.value == 1) ? kTrue : kFalse;
}

Result RunDestroyBehindInit(Scene& scene, Part)
{
    scene.WaitUntilWaiting(scene.Launch([&scene] { scene.Init(); }));
    scene.Destroy();
    return kNothing;
}

constexpr Operation kOperations[] = {
    {"Init", RunInit, NewLoaders},
    {"call-back that retries", RunRetry, LoadersOfRetry},
    {"StartRecording", RunStart, NoOthers},
    {"StopRecording", RunStop, NoOthers},
    {"SetProperty(RESOLUTION)", RunRestart, NoOthers},
    {"unplug", RunUnplug, LostTransfers},
    {"re-plug", RunReplug, LostTransfers},
    {"watch notices the loss", RunUnplug, LoaderThatWatched},
    {"cam_destroy", RunDestroy, NoOthers},
    {"firmware download", RunDownload, NewLoaders},
    {"version query", RunVersion, NoOthers},
    {"cam_destroy behind a waiting Init", RunDestroyBehindInit, NoOthers},
};

}  // namespace

const Operation& OperationOf(Name name)
{
    return kOperations[name];
}

const char* TextOf(From from)
{
    static constexpr const char* kTexts[] = {"new object",   "camera absent",  "sound refused",
                                             "boot loader",  "connected",      "recording"};
    return kTexts[from];
}

const char* TextOf(Result result)
{
    static constexpr const char* kTexts[] = {"-", "false", "true", "either"};
    return kTexts[result];
}

}  // namespace pairs
