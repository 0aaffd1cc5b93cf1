// The root of the toolkit's classes: run-time class information and dynamic
// creation, in the MFC manner.
#pragma once

#include <cstddef>

class CObject;

struct CRuntimeClass {
    const char* m_lpszClassName;
    int m_nObjectSize;
    CObject* (*m_pfnCreateObject)();  // null for classes that cannot be created dynamically
    CRuntimeClass* (*m_pfnGetBaseClass)();

    CObject* CreateObject() const { return m_pfnCreateObject ? m_pfnCreateObject() : nullptr; }
    bool IsDerivedFrom(const CRuntimeClass* base) const;
    // The class registered under this name, or null.
    static CRuntimeClass* FromName(const char* className);
};

class CObject {
public:
    virtual ~CObject() = default;
    virtual CRuntimeClass* GetRuntimeClass() const;
    bool IsKindOf(const CRuntimeClass* cls) const { return GetRuntimeClass()->IsDerivedFrom(cls); }

    static CRuntimeClass classCObject;
    static CRuntimeClass* _GetBaseClass() { return nullptr; }

    void* operator new(size_t size);
    void operator delete(void* p) noexcept;
    void* operator new(size_t, void* place) noexcept { return place; }
    void operator delete(void*, void*) noexcept {}

protected:
    CObject() = default;
};

#define RUNTIME_CLASS(class_name) (&class_name::class##class_name)

// Registers a class under its name so that CRuntimeClass::FromName finds it.
struct AfxClassRegistration {
    explicit AfxClassRegistration(CRuntimeClass* cls);
};

#define DECLARE_DYNAMIC(class_name)                  \
public:                                              \
    static CRuntimeClass class##class_name;          \
    CRuntimeClass* GetRuntimeClass() const override;

#define DECLARE_DYNCREATE(class_name) \
    DECLARE_DYNAMIC(class_name)       \
    static CObject* CreateObject();

#define AFX_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, creator)                          \
    static CRuntimeClass* _GetBaseOf##class_name() { return RUNTIME_CLASS(base_class_name); }     \
    CRuntimeClass class_name::class##class_name = {#class_name, static_cast<int>(sizeof(class_name)), \
                                                   creator, &_GetBaseOf##class_name};             \
    static AfxClassRegistration _register##class_name(&class_name::class##class_name);            \
    CRuntimeClass* class_name::GetRuntimeClass() const { return RUNTIME_CLASS(class_name); }

#define IMPLEMENT_DYNAMIC(class_name, base_class_name) \
    AFX_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, nullptr)

#define IMPLEMENT_DYNCREATE(class_name, base_class_name)             \
    CObject* class_name::CreateObject() { return new class_name; } \
    AFX_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, &class_name::CreateObject)
