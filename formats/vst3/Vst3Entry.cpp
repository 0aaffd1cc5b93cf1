// The module's three entry points and its factory of one class.
#include <cstring>

#include "TapDelayVersion.h"
#include "formats/vst3/Interfaces.h"
#include "formats/vst3/TapDelayVst3.h"
#include "formats/vst3/Utf16.h"

using namespace vst3;

namespace {

// As the effect reports them to VST 2 hosts (ATapDelay's vendor and name).
constexpr const char* kVendor = "VELDOTEK Co.,Ltd.";
constexpr const char* kName = "TapDelay";
constexpr const char* kSubCategories = "Fx|Delay";
// The interface version the class is written against.
constexpr const char* kSdkVersion = "VST 3.7.14";

template <size_t N>
void CopyText(char (&out)[N], const char* text) {
    const size_t length = strnlen(text, N - 1);
    std::memcpy(out, text, length);
    out[length] = 0;
}

// A static object: the references are counted for form only.
class Factory final : public IPluginFactory3 {
public:
    tresult queryInterface(const TUID iid, void** object) override {
        return QueryInterfaces<IPluginFactory3, IPluginFactory2, IPluginFactory>(this, iid, object);
    }
    uint32_t addRef() override { return 1; }
    uint32_t release() override { return 1; }

    tresult getFactoryInfo(PFactoryInfo* info) override {
        if (!info) return kInvalidArgument;
        *info = {};
        CopyText(info->vendor, kVendor);
        info->flags = PFactoryInfo::kUnicode;
        return kResultOk;
    }
    int32_t countClasses() override { return 1; }

    tresult getClassInfo(int32_t index, PClassInfo* info) override { return Describe(index, info); }

    tresult getClassInfo2(int32_t index, PClassInfo2* info) override {
        if (Describe(index, info) != kResultOk) return kInvalidArgument;
        CopyText(info->subCategories, kSubCategories);
        CopyText(info->vendor, kVendor);
        CopyText(info->version, TAPDELAY_VERSION);
        CopyText(info->sdkVersion, kSdkVersion);
        return kResultOk;
    }

    tresult getClassInfoUnicode(int32_t index, PClassInfoW* info) override {
        PClassInfo2 narrow;
        if (!info || getClassInfo2(index, &narrow) != kResultOk) return kInvalidArgument;
        *info = {};
        std::memcpy(info->cid, narrow.cid, sizeof info->cid);
        info->cardinality = narrow.cardinality;
        CopyText(info->category, narrow.category);
        CopyUtf16(info->name, 64, narrow.name);
        CopyText(info->subCategories, narrow.subCategories);
        CopyUtf16(info->vendor, 64, narrow.vendor);
        CopyUtf16(info->version, 64, narrow.version);
        CopyUtf16(info->sdkVersion, 64, narrow.sdkVersion);
        return kResultOk;
    }

    tresult setHostContext(FUnknown*) override { return kResultOk; }

private:
    // What both class records hold.
    template <class Info>
    static tresult Describe(int32_t index, Info* info) {
        if (index != 0 || !info) return kInvalidArgument;
        *info = {};
        std::memcpy(info->cid, TapDelayVst3::kClassId.bytes, sizeof info->cid);
        info->cardinality = PClassInfo::kManyInstances;
        CopyText(info->category, kAudioEffectClass);
        CopyText(info->name, kName);
        return kResultOk;
    }

public:
    tresult createInstance(FIDString cid, FIDString iid, void** object) override {
        if (!object) return kInvalidArgument;
        *object = nullptr;
        if (!SameUid(cid, TapDelayVst3::kClassId)) return kNoInterface;
        auto* plugin = new TapDelayVst3();
        const tresult result = plugin->queryInterface(iid, object);
        plugin->release();  // the reference queryInterface took is the host's
        return result;
    }
};

Factory factory;

}  // namespace

extern "C" {

__attribute__((visibility("default"))) bool ModuleEntry(void*) { return true; }

__attribute__((visibility("default"))) bool ModuleExit() { return true; }

__attribute__((visibility("default"))) IPluginFactory* GetPluginFactory() { return &factory; }

}
