// The plug-in's one exported entry point and the factory behind it.
#include "effect/ATapDelay.h"
#include "host/VstAbi.h"

AudioEffect* createEffectInstance(audioMasterCallback audioMaster) {
    return new ATapDelay(audioMaster);
}

extern "C" __attribute__((visibility("default"))) AEffect* VSTPluginMain(
    audioMasterCallback audioMaster) {
    // A host that does not answer the version request gets no effect.
    if (!audioMaster || audioMaster(nullptr, audioMasterVersion, 0, 0, nullptr, 0.0f) == 0)
        return nullptr;
    AudioEffect* effect = createEffectInstance(audioMaster);
    return effect ? effect->getAeffect() : nullptr;
}
