// Message dispatch: the message map lookup, the handler calls by signature
// kind, and the built-in behaviour of windows (DefWindowProc).
#include <cstring>
#include <vector>

#include "toolkit/CDC.h"
#include "toolkit/CWnd.h"
#include "toolkit/WindowClasses.h"

BEGIN_MESSAGE_MAP(CWnd, CCmdTarget)
END_MESSAGE_MAP()

namespace {

// Handlers are stored untyped; the entry's kind says which type to call.
#pragma GCC diagnostic ignored "-Wcast-function-type"

LRESULT CallHandler(CCmdTarget* target, const AFX_MSGMAP_ENTRY& entry, WPARAM wParam,
                    LPARAM lParam) {
    const AFX_PMSG pfn = entry.pfn;
    switch (entry.nSig) {
    case AfxSig_is:
        return (target->*reinterpret_cast<int (CCmdTarget::*)(LPCREATESTRUCT)>(pfn))(
            reinterpret_cast<LPCREATESTRUCT>(lParam));
    case AfxSig_vv:
        (target->*pfn)();
        return 0;
    case AfxSig_vwii:
        (target->*reinterpret_cast<void (CCmdTarget::*)(UINT, int, int)>(pfn))(
            static_cast<UINT>(wParam), LOWORD(static_cast<uintptr_t>(lParam)),
            HIWORD(static_cast<uintptr_t>(lParam)));
        return 0;
    case AfxSig_vwp:
        (target->*reinterpret_cast<void (CCmdTarget::*)(UINT, CPoint)>(pfn))(
            static_cast<UINT>(wParam), CPoint(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)));
        return 0;
    case AfxSig_vwww:
        (target->*reinterpret_cast<void (CCmdTarget::*)(UINT, UINT, UINT)>(pfn))(
            static_cast<UINT>(wParam), LOWORD(static_cast<uintptr_t>(lParam)),
            HIWORD(static_cast<uintptr_t>(lParam)));
        return 0;
    case AfxSig_vw:
        (target->*reinterpret_cast<void (CCmdTarget::*)(UINT_PTR)>(pfn))(
            static_cast<UINT_PTR>(wParam));
        return 0;
    case AfxSig_vW:
        (target->*reinterpret_cast<void (CCmdTarget::*)(CWnd*)>(pfn))(
            CWnd::FromHandle(reinterpret_cast<HWND>(wParam)));
        return 0;
    case AfxSig_bD:
        return (target->*reinterpret_cast<BOOL (CCmdTarget::*)(CDC*)>(pfn))(
            reinterpret_cast<CDC*>(wParam));
    case AfxSig_lwl:
        return (target->*reinterpret_cast<LRESULT (CCmdTarget::*)(WPARAM, LPARAM)>(pfn))(wParam,
                                                                                        lParam);
    case AfxSig_vu:
        (target->*reinterpret_cast<void (CCmdTarget::*)(UINT)>(pfn))(LOWORD(wParam));
        return 0;
    default:
        return 0;
    }
}

}  // namespace

namespace {

// The messages being handled, innermost last, so that Default() finds its
// window's current one. Entries name their window only while it exists.
struct Dispatch {
    const CWnd* window;
    MSG msg;
};
thread_local std::vector<Dispatch> dispatching;

}  // namespace

void AfxForgetDispatches(const CWnd* window) {
    for (Dispatch& d : dispatching)
        if (d.window == window) d.window = nullptr;
}

LRESULT CWnd::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    MSG msg;
    msg.hwnd = m_hWnd;
    msg.message = message;
    msg.wParam = wParam;
    msg.lParam = lParam;
    const size_t depth = dispatching.size();
    dispatching.push_back(Dispatch{this, msg});
    // The handler may destroy or even delete this window: nothing here
    // touches it afterwards.
    LRESULT result;
    if (const AFX_MSGMAP_ENTRY* entry = FindMessageEntry(message, wParam))
        result = CallHandler(this, *entry, wParam, lParam);
    else
        result = DefWindowProc(message, wParam, lParam);
    dispatching.resize(depth);
    return result;
}

LRESULT CWnd::Default() {
    for (auto it = dispatching.rbegin(); it != dispatching.rend(); ++it) {
        if (it->window == this) {
            const MSG msg = it->msg;
            return DefWindowProc(msg.message, msg.wParam, msg.lParam);
        }
    }
    return 0;
}

BOOL CWnd::PreTranslateMessage(MSG* /*msg*/) { return FALSE; }

LRESULT CWnd::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_CREATE:
        return 0;
    case WM_ERASEBKGND: {
        COLORREF color;
        CDC* dc = reinterpret_cast<CDC*>(wParam);
        if (!dc || !WindowClasses::BrushColor(m_background, color)) return FALSE;
        CRect area = m_updateRect.IsRectEmpty() ? CRect(0, 0, m_rect.Width(), m_rect.Height())
                                                : m_updateRect;
        dc->FillSolidRect(&area, color);
        return TRUE;
    }
    case WM_CLOSE:
        DestroyWindow();
        return 0;
    case WM_SETTEXT:
        m_text = lParam ? reinterpret_cast<const char*>(lParam) : "";
        Invalidate();
        return TRUE;
    case WM_GETTEXT: {
        char* buffer = reinterpret_cast<char*>(lParam);
        const int size = static_cast<int>(wParam);
        if (!buffer || size <= 0) return 0;
        int n = m_text.GetLength();
        if (n > size - 1) n = size - 1;
        std::memcpy(buffer, static_cast<const char*>(m_text), static_cast<size_t>(n));
        buffer[n] = '\0';
        return n;
    }
    case WM_GETTEXTLENGTH:
        return m_text.GetLength();
    case WM_SETFONT:
        m_font = reinterpret_cast<CFont*>(wParam);
        if (lParam) Invalidate();
        return 0;
    case WM_GETFONT:
        return reinterpret_cast<LRESULT>(m_font);
    default:
        return 0;
    }
}

int CWnd::OnCreate(LPCREATESTRUCT) { return static_cast<int>(Default()); }
void CWnd::OnDestroy() { Default(); }
void CWnd::OnPaint() { Default(); }
BOOL CWnd::OnEraseBkgnd(CDC*) { return static_cast<BOOL>(Default()); }
void CWnd::OnSize(UINT, int, int) { Default(); }
void CWnd::OnTimer(UINT_PTR) { Default(); }
void CWnd::OnMouseMove(UINT, CPoint) { Default(); }
void CWnd::OnLButtonDown(UINT, CPoint) { Default(); }
void CWnd::OnLButtonUp(UINT, CPoint) { Default(); }
void CWnd::OnLButtonDblClk(UINT, CPoint) { Default(); }
void CWnd::OnRButtonDown(UINT, CPoint) { Default(); }
void CWnd::OnRButtonUp(UINT, CPoint) { Default(); }
void CWnd::OnKeyDown(UINT, UINT, UINT) { Default(); }
void CWnd::OnKeyUp(UINT, UINT, UINT) { Default(); }
void CWnd::OnChar(UINT, UINT, UINT) { Default(); }
void CWnd::OnKillFocus(CWnd*) { Default(); }
void CWnd::OnSetFocus(CWnd*) { Default(); }
