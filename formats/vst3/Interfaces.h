// What every object we hand a VST 3 host does alike: answer queryInterface
// for the interfaces it implements, and count its references.
#pragma once

#include <atomic>
#include <type_traits>

#include "formats/vst3/Vst3Abi.h"

namespace vst3 {

// The interface of self that iid names, with a reference for the caller; the
// first interface stands for FUnknown.
template <class First, class... Rest, class Object>
tresult QueryInterfaces(Object* self, const TUID iid, void** object) {
    if (!object) return kInvalidArgument;
    *object = SameUid(iid, FUnknown::iid) ? static_cast<First*>(self) : nullptr;
    auto match = [&](auto* none) {
        using Interface = std::remove_pointer_t<decltype(none)>;
        if (!*object && SameUid(iid, Interface::iid)) *object = static_cast<Interface*>(self);
    };
    match(static_cast<First*>(nullptr));
    (match(static_cast<Rest*>(nullptr)), ...);
    if (!*object) return kNoInterface;
    self->addRef();
    return kResultOk;
}

// Starts at one, the creator's reference; the last release deletes.
class ReferenceCount {
public:
    uint32_t Add() { return ++count; }
    template <class Object>
    uint32_t Release(Object* self) {
        const uint32_t left = --count;
        if (left == 0) delete self;
        return left;
    }

private:
    std::atomic<uint32_t> count{1};
};

}  // namespace vst3
