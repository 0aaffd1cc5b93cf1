#include "toolkit/CObject.h"

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <vector>

namespace {

// Classes register from static initialisers, so the list is built on first use.
std::vector<CRuntimeClass*>& RegisteredClasses() {
    static std::vector<CRuntimeClass*> classes;
    return classes;
}

std::mutex& RegistryMutex() {
    static std::mutex mutex;
    return mutex;
}

}  // namespace

CRuntimeClass CObject::classCObject = {"CObject", static_cast<int>(sizeof(CObject)), nullptr,
                                       &CObject::_GetBaseClass};
static AfxClassRegistration registerCObject(&CObject::classCObject);

CRuntimeClass* CObject::GetRuntimeClass() const { return &classCObject; }

bool CRuntimeClass::IsDerivedFrom(const CRuntimeClass* base) const {
    if (!base) return false;
    for (const CRuntimeClass* cls = this; cls;
         cls = cls->m_pfnGetBaseClass ? cls->m_pfnGetBaseClass() : nullptr) {
        if (cls == base) return true;
    }
    return false;
}

CRuntimeClass* CRuntimeClass::FromName(const char* className) {
    if (!className) return nullptr;
    std::lock_guard<std::mutex> lock(RegistryMutex());
    for (CRuntimeClass* cls : RegisteredClasses()) {
        if (std::strcmp(cls->m_lpszClassName, className) == 0) return cls;
    }
    return nullptr;
}

AfxClassRegistration::AfxClassRegistration(CRuntimeClass* cls) {
    std::lock_guard<std::mutex> lock(RegistryMutex());
    RegisteredClasses().push_back(cls);
}

void* CObject::operator new(size_t size) {
    void* p = std::malloc(size ? size : 1);
    if (!p) throw std::bad_alloc();
    return p;
}

void CObject::operator delete(void* p) noexcept { std::free(p); }
