// What the control tests share: an editor-like root window inside a host
// window on a test environment (it records the commands its controls send),
// and a script that drives modal loops (menus, lists, dialogs) step by step
// from the modal idle hook.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/toolkit/TestEnvironment.h"
#include "toolkit/CWinApp.h"
#include "toolkit/CWnd.h"
#include "toolkit/UIConnection.h"

// The root window: light grey, records WM_COMMAND and WM_VSCROLL.
class CommandRecorder : public CWnd {
public:
    struct Command {
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
        bool operator==(const Command& o) const {
            return message == o.message && wParam == o.wParam && lParam == o.lParam;
        }
    };
    std::vector<Command> commands;
    std::function<void()> onCommand;  // called as each WM_COMMAND arrives
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;
};

class ControlHost {
public:
    // Host window at hostRect (screen), the root at rootRect inside it.
    static constexpr int kHostX = 100, kHostY = 100, kRootX = 10, kRootY = 10;

    // Opens the headless environment, the host window and the root.
    bool Open();
    void Close();
    ~ControlHost() { Close(); }

    TestEnvironment& Env() { return *m_environment; }
    CommandRecorder& Root() { return m_root; }
    // Screen position of client point (x, y) of window.
    static CPoint Screen(const CWnd& window, int x, int y);
    void ClickAt(const CWnd& window, int x, int y) {
        const CPoint p = Screen(window, x, y);
        m_environment->Click(p.x, p.y);
    }

private:
    std::unique_ptr<TestEnvironment> m_environment;
    NativeWindow m_host = 0;
    CFrameWnd m_frame;
    CommandRecorder m_root;
};

// Steps run one per turn of whatever modal loop is running; a step answers
// true when done (actions at once, waits once their condition holds). A
// script that has not finished after many turns presses Escape until the
// loops end, and says so (Overran), so that a broken test never hangs.
class ModalScript {
public:
    explicit ModalScript(TestEnvironment& environment) : m_environment(environment) {}
    ~ModalScript();

    ModalScript& Do(std::function<void()> action);
    ModalScript& WaitUntil(std::function<bool()> condition);
    // Input, sent when the step's turn comes.
    ModalScript& Click(CPoint screen, int button = 1);
    // A click at a screen point worked out when the step's turn comes.
    ModalScript& ClickAt(std::function<CPoint()> screen, int button = 1);
    ModalScript& Key(unsigned long keysym);
    ModalScript& Text(const std::string& ascii);
    // Writes the window's pixels to the PNG file at path for a person to
    // look at.
    ModalScript& Snapshot(std::function<NativeWindow()> window, const char* path);

    void Install();
    bool Finished() const { return m_next >= m_steps.size(); }
    bool Overran() const { return m_overran; }

private:
    void Turn();
    TestEnvironment& m_environment;
    std::vector<std::function<bool()>> m_steps;
    size_t m_next = 0;
    int m_turns = 0;
    bool m_overran = false;
};

// The modal loop's root window (a menu, a list, a dialog) when it is a T.
template <class T>
T* ModalRootAs() {
    UIConnection* connection = UIConnection::Current();
    return connection ? dynamic_cast<T*>(connection->ModalRoot()) : nullptr;
}

// A test's X11 run without a server is skipped, unless TAPDELAY_REQUIRE_X11
// is set.
bool X11IsRequired();

// Skips the test when there is no X server, or fails it when one is required.
#define SKIP_WITHOUT_X11(available)                                   \
    do {                                                              \
        if (!(available)) {                                           \
            if (X11IsRequired()) FAIL() << "no X server at $DISPLAY"; \
            GTEST_SKIP() << "no X server at $DISPLAY";                \
        }                                                             \
    } while (false)
