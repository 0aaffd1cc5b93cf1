// Message maps: a static table per class, looked up in the class and then in
// its bases. Each entry holds the message number, the notification code, the
// first and last control id, the handler's signature kind and the handler.
#pragma once

#include "toolkit/CObject.h"
#include "toolkit/WinDefs.h"

class CCmdTarget;
class CWnd;
class CDC;

// A handler stored in a table; cast back to its real signature by kind.
typedef void (CCmdTarget::*AFX_PMSG)();

// Handler signature kinds.
enum AfxSig {
    AfxSig_end = 0,
    AfxSig_is,    // int (LPCREATESTRUCT)            WM_CREATE
    AfxSig_vv,    // void ()                         WM_PAINT, WM_DESTROY, commands
    AfxSig_vwii,  // void (UINT, int, int)           WM_SIZE
    AfxSig_vwp,   // void (UINT, CPoint)             mouse messages
    AfxSig_vwww,  // void (UINT, UINT, UINT)         WM_KEYDOWN, WM_KEYUP, WM_CHAR
    AfxSig_vw,    // void (UINT_PTR)                 WM_TIMER
    AfxSig_vW,    // void (CWnd*)                    WM_KILLFOCUS, WM_SETFOCUS
    AfxSig_bD,    // BOOL (CDC*)                     WM_ERASEBKGND
    AfxSig_lwl,   // LRESULT (WPARAM, LPARAM)        ON_MESSAGE
    AfxSig_vu,    // void (UINT id)                  ON_COMMAND_RANGE
};

struct AFX_MSGMAP_ENTRY {
    UINT nMessage;
    UINT nCode;   // WM_COMMAND: notification code (wParam's high word)
    UINT nID;     // WM_COMMAND: first control id (wParam's low word)
    UINT nLastID; // WM_COMMAND: last control id of the range
    UINT nSig;    // AfxSig
    AFX_PMSG pfn;
};

struct AFX_MSGMAP {
    const AFX_MSGMAP* (*pfnGetBaseMap)();
    const AFX_MSGMAP_ENTRY* lpEntries;
};

class CCmdTarget : public CObject {
    DECLARE_DYNAMIC(CCmdTarget)
public:
    CCmdTarget() = default;

    // The entry that handles message (and, for WM_COMMAND, the code and id of
    // wParam), searching this class's map and then its bases'; null if none.
    const AFX_MSGMAP_ENTRY* FindMessageEntry(UINT message, WPARAM wParam) const;

    static const AFX_MSGMAP* GetThisMessageMap();
    virtual const AFX_MSGMAP* GetMessageMap() const;
};

#define DECLARE_MESSAGE_MAP()                   \
public:                                         \
    static const AFX_MSGMAP* GetThisMessageMap(); \
    const AFX_MSGMAP* GetMessageMap() const override;

#define BEGIN_MESSAGE_MAP(theClass, baseClass)                                        \
    const AFX_MSGMAP* theClass::GetMessageMap() const { return GetThisMessageMap(); } \
    const AFX_MSGMAP* theClass::GetThisMessageMap() {                                 \
        typedef theClass ThisClass;                                                   \
        typedef baseClass TheBaseClass;                                               \
        static_assert(sizeof(ThisClass) > 0, "complete class");                       \
        _Pragma("GCC diagnostic push")                                                \
        _Pragma("GCC diagnostic ignored \"-Wcast-function-type\"")                    \
        static const AFX_MSGMAP_ENTRY messageEntries[] = {

#define END_MESSAGE_MAP()                                                    \
    {0, 0, 0, 0, AfxSig_end, nullptr}};                                      \
    _Pragma("GCC diagnostic pop")                                            \
    static const AFX_MSGMAP messageMap = {&TheBaseClass::GetThisMessageMap, \
                                          &messageEntries[0]};               \
    return &messageMap;                                                      \
    }

// The handler's real type is checked by the static_cast, then stored untyped
// (the map macros silence the compiler's warning about that cast).
#define AFX_HANDLER(type, fn) reinterpret_cast<AFX_PMSG>(static_cast<type>(fn))

#define ON_WM_CREATE() \
    {WM_CREATE, 0, 0, 0, AfxSig_is, AFX_HANDLER(int (CCmdTarget::*)(LPCREATESTRUCT), &ThisClass::OnCreate)},
#define ON_WM_DESTROY() \
    {WM_DESTROY, 0, 0, 0, AfxSig_vv, AFX_HANDLER(void (CCmdTarget::*)(), &ThisClass::OnDestroy)},
#define ON_WM_PAINT() \
    {WM_PAINT, 0, 0, 0, AfxSig_vv, AFX_HANDLER(void (CCmdTarget::*)(), &ThisClass::OnPaint)},
#define ON_WM_ERASEBKGND() \
    {WM_ERASEBKGND, 0, 0, 0, AfxSig_bD, AFX_HANDLER(BOOL (CCmdTarget::*)(CDC*), &ThisClass::OnEraseBkgnd)},
#define ON_WM_SIZE() \
    {WM_SIZE, 0, 0, 0, AfxSig_vwii, AFX_HANDLER(void (CCmdTarget::*)(UINT, int, int), &ThisClass::OnSize)},
#define ON_WM_TIMER() \
    {WM_TIMER, 0, 0, 0, AfxSig_vw, AFX_HANDLER(void (CCmdTarget::*)(UINT_PTR), &ThisClass::OnTimer)},
#define AFX_ON_MOUSE(msg, fn) \
    {msg, 0, 0, 0, AfxSig_vwp, AFX_HANDLER(void (CCmdTarget::*)(UINT, CPoint), &ThisClass::fn)},
#define ON_WM_MOUSEMOVE() AFX_ON_MOUSE(WM_MOUSEMOVE, OnMouseMove)
#define ON_WM_LBUTTONDOWN() AFX_ON_MOUSE(WM_LBUTTONDOWN, OnLButtonDown)
#define ON_WM_LBUTTONUP() AFX_ON_MOUSE(WM_LBUTTONUP, OnLButtonUp)
#define ON_WM_LBUTTONDBLCLK() AFX_ON_MOUSE(WM_LBUTTONDBLCLK, OnLButtonDblClk)
#define ON_WM_RBUTTONDOWN() AFX_ON_MOUSE(WM_RBUTTONDOWN, OnRButtonDown)
#define ON_WM_RBUTTONUP() AFX_ON_MOUSE(WM_RBUTTONUP, OnRButtonUp)
#define AFX_ON_KEY(msg, fn) \
    {msg, 0, 0, 0, AfxSig_vwww, AFX_HANDLER(void (CCmdTarget::*)(UINT, UINT, UINT), &ThisClass::fn)},
#define ON_WM_KEYDOWN() AFX_ON_KEY(WM_KEYDOWN, OnKeyDown)
#define ON_WM_KEYUP() AFX_ON_KEY(WM_KEYUP, OnKeyUp)
#define ON_WM_CHAR() AFX_ON_KEY(WM_CHAR, OnChar)
#define ON_WM_KILLFOCUS() \
    {WM_KILLFOCUS, 0, 0, 0, AfxSig_vW, AFX_HANDLER(void (CCmdTarget::*)(CWnd*), &ThisClass::OnKillFocus)},
#define ON_WM_SETFOCUS() \
    {WM_SETFOCUS, 0, 0, 0, AfxSig_vW, AFX_HANDLER(void (CCmdTarget::*)(CWnd*), &ThisClass::OnSetFocus)},
#define ON_MESSAGE(msg, fn) \
    {msg, 0, 0, 0, AfxSig_lwl, AFX_HANDLER(LRESULT (CCmdTarget::*)(WPARAM, LPARAM), &ThisClass::fn)},
#define ON_CONTROL(code, id, fn) \
    {WM_COMMAND, code, id, id, AfxSig_vv, AFX_HANDLER(void (CCmdTarget::*)(), &ThisClass::fn)},
#define ON_COMMAND(id, fn) ON_CONTROL(0, id, fn)
#define ON_BN_CLICKED(id, fn) ON_CONTROL(BN_CLICKED, id, fn)
#define ON_CBN_SELCHANGE(id, fn) ON_CONTROL(CBN_SELCHANGE, id, fn)
#define ON_EN_CHANGE(id, fn) ON_CONTROL(EN_CHANGE, id, fn)
#define ON_COMMAND_RANGE(first, last, fn) \
    {WM_COMMAND, 0, first, last, AfxSig_vu, AFX_HANDLER(void (CCmdTarget::*)(UINT), &ThisClass::fn)},
