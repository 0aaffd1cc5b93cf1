// The application object (one per plug-in) and the frame that wraps the
// host's window as the parent of the editor window.
#pragma once

#include "toolkit/CWnd.h"

class CWinApp : public CCmdTarget {
    DECLARE_DYNAMIC(CWinApp)
public:
    explicit CWinApp(LPCTSTR appName = nullptr);
    ~CWinApp() override;

    const char* m_pszAppName = nullptr;
    CWnd* m_pMainWnd = nullptr;

    DECLARE_MESSAGE_MAP()
};

CWinApp* AfxGetApp();

// Owns the editor's connection to the windowing system: SetNativeHandle
// opens it around the host's window, and windows created with this frame as
// parent become native children of that window.
class CFrameWnd : public CWnd {
    DECLARE_DYNCREATE(CFrameWnd)
public:
    CFrameWnd();
    ~CFrameWnd() override;

    // Wraps the host's window (0 lets go, closing the connection after its
    // windows are destroyed). False when no display connection can be made.
    bool SetNativeHandle(NativeWindow hostWindow);
    NativeWindow GetNativeHandle() const { return m_hostWindow; }

    DECLARE_MESSAGE_MAP()

private:
    NativeWindow m_hostWindow = 0;
};
