#include "toolkit/CWinApp.h"

#include "toolkit/UIConnection.h"
#include "toolkit/WindowTree.h"

IMPLEMENT_DYNAMIC(CWinApp, CCmdTarget)

BEGIN_MESSAGE_MAP(CWinApp, CCmdTarget)
END_MESSAGE_MAP()

namespace {
CWinApp* theApplication = nullptr;
}

CWinApp::CWinApp(LPCTSTR appName) : m_pszAppName(appName) { theApplication = this; }

CWinApp::~CWinApp() {
    if (theApplication == this) theApplication = nullptr;
}

CWinApp* AfxGetApp() { return theApplication; }

IMPLEMENT_DYNCREATE(CFrameWnd, CWnd)

BEGIN_MESSAGE_MAP(CFrameWnd, CWnd)
END_MESSAGE_MAP()

CFrameWnd::CFrameWnd() = default;

CFrameWnd::~CFrameWnd() { SetNativeHandle(0); }

bool CFrameWnd::SetNativeHandle(NativeWindow hostWindow) {
    if (m_hWnd) {
        // Destroys the editor window and anything else inside, then the
        // connection goes with the frame's foreign root.
        DestroyWindow();
    }
    m_hostWindow = 0;
    if (!hostWindow) return true;
    std::shared_ptr<UIConnection> connection = UIConnection::Open();
    if (!connection) return false;
    WindowTree::MakeForeignRoot(this, std::move(connection), hostWindow);
    m_hostWindow = hostWindow;
    return true;
}
