#include "tests/toolkit/ControlHost.h"

#include <cstdlib>

#include "toolkit/CDC.h"
#include "toolkit/headless/HeadlessDisplay.h"

namespace {
constexpr unsigned long kEscape = 0xff1b;
constexpr int kTurnLimit = 600;
}  // namespace

LRESULT CommandRecorder::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_COMMAND || message == WM_VSCROLL) commands.push_back({message, wParam, lParam});
    if (message == WM_COMMAND && onCommand) onCommand();
    if (message == WM_PAINT) {
        CPaintDC dc(this);
        CRect client;
        GetClientRect(&client);
        dc.FillSolidRect(&client, RGB(200, 200, 200));
        return 0;
    }
    return CWnd::WindowProc(message, wParam, lParam);
}

bool ControlHost::Open() {
    m_environment = MakeHeadlessEnvironment();
    m_environment->Install();
    m_host = m_environment->CreateHostWindow(CRect(kHostX, kHostY, kHostX + 500, kHostY + 400));
    const bool opened =
        m_frame.SetNativeHandle(m_host) &&
        m_root.Create(AfxRegisterWndClass(CS_DBLCLKS), "editor", WS_CHILD | WS_VISIBLE,
                      CRect(kRootX, kRootY, kRootX + 480, kRootY + 380), &m_frame, 1);
    m_environment->Settle();
    return opened;
}

void ControlHost::Close() {
    if (!m_environment) return;
    AfxSetModalIdleHook(nullptr);
    if (m_root.GetSafeHwnd()) m_root.DestroyWindow();
    m_frame.SetNativeHandle(0);
    if (m_host) m_environment->DestroyHostWindow(m_host);
    m_host = 0;
    AfxSetNativeDisplayFactory(nullptr);
    m_environment.reset();
}

CPoint ControlHost::Screen(const CWnd& window, int x, int y) {
    CPoint p(x, y);
    window.ClientToScreen(&p);
    return p;
}

ModalScript::~ModalScript() { AfxSetModalIdleHook(nullptr); }

ModalScript& ModalScript::Do(std::function<void()> action) {
    m_steps.push_back([action] {
        action();
        return true;
    });
    return *this;
}

ModalScript& ModalScript::WaitUntil(std::function<bool()> condition) {
    m_steps.push_back(std::move(condition));
    return *this;
}

ModalScript& ModalScript::Click(CPoint screen, int button) {
    return ClickAt([screen] { return screen; }, button);
}

ModalScript& ModalScript::ClickAt(std::function<CPoint()> screen, int button) {
    TestEnvironment* env = &m_environment;
    return Do([env, screen, button] {
        const CPoint at = screen();
        env->MovePointer(at.x, at.y);
        env->PressButton(button);
        env->ReleaseButton(button);
    });
}

ModalScript& ModalScript::Key(unsigned long keysym) {
    TestEnvironment* env = &m_environment;
    return Do([env, keysym] {
        env->PressKey(keysym);
        env->ReleaseKey(keysym);
    });
}

ModalScript& ModalScript::Text(const std::string& ascii) {
    // One character a turn, through the environment's own typing rules.
    for (char c : ascii) {
        TestEnvironment* env = &m_environment;
        Do([env, c] {
            const unsigned long keysym = static_cast<unsigned char>(c);
            const bool upper = c >= 'A' && c <= 'Z';
            if (upper) env->PressKey(0xffe1);
            env->PressKey(upper ? keysym - 'A' + 'a' : keysym);
            env->ReleaseKey(upper ? keysym - 'A' + 'a' : keysym);
            if (upper) env->ReleaseKey(0xffe1);
        });
    }
    return *this;
}

ModalScript& ModalScript::Snapshot(std::function<NativeWindow()> window, const char* path) {
    return Do([window, file = std::string(path)] { headless::WriteWindowPng(window(), file.c_str()); });
}

void ModalScript::Install() {
    AfxSetModalIdleHook([this] { Turn(); });
}

void ModalScript::Turn() {
    if (++m_turns > kTurnLimit) {
        m_overran = true;
        m_environment.PressKey(kEscape);
        m_environment.ReleaseKey(kEscape);
        return;
    }
    if (m_next < m_steps.size() && m_steps[m_next]()) ++m_next;
}

bool X11IsRequired() {
    const char* required = std::getenv("TAPDELAY_REQUIRE_X11");
    return required && *required && std::string(required) != "0";
}
