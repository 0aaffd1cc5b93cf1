// The library's one exported symbol, clap_entry, and its factory with the
// one plug-in it makes.
#include <cstring>

#include "formats/clap/ClapAbi.h"
#include "formats/clap/TapDelayClap.h"
#include "TapDelayVersion.h"

namespace {

// Hosts keep this id in their sessions: it never changes.
constexpr const char kPluginId[] = "org.tapdelay.TapDelay";

const char* const kFeatures[] = {"audio-effect", "delay", "stereo", nullptr};

const clap::PluginDescriptor kDescriptor = {
    clap::kVersion, kPluginId, kTapDelayName, kTapDelayVendor, "", "", "", TAPDELAY_VERSION,
    "Six-tap stereo delay with filters, feedback and tempo sync", kFeatures,
};

const clap::PluginFactory kFactory = {
    [](const clap::PluginFactory*) -> uint32_t { return 1; },
    [](const clap::PluginFactory*, uint32_t index) { return index == 0 ? &kDescriptor : nullptr; },
    [](const clap::PluginFactory*, const clap::Host* host, const char* id) -> const clap::Plugin* {
        if (!host || !id || std::strcmp(id, kPluginId) != 0) return nullptr;
        return (new TapDelayClap(host, &kDescriptor))->Record();
    },
};

}  // namespace

// Nothing to set up per library: init and deinit may come any number of times.
extern "C" __attribute__((visibility("default"))) const clap::PluginEntry clap_entry = {
    clap::kVersion,
    [](const char*) { return true; },
    [] {},
    [](const char* id) -> const void* {
        return id && std::strcmp(id, clap::kPluginFactoryId) == 0 ? &kFactory : nullptr;
    },
};
