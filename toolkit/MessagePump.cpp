// The idle pump the editor runs from effEditIdle, and the modal idle hook.
#include <functional>
#include <memory>
#include <vector>

#include "toolkit/CWnd.h"
#include "toolkit/MessageQueue.h"
#include "toolkit/UIConnection.h"
#include "toolkit/WindowTree.h"

namespace {

std::function<void()>& IdleHook() {
    static std::function<void()> hook;
    return hook;
}

bool pumping = false;

}  // namespace

void AfxSetModalIdleHook(std::function<void()> hook) { IdleHook() = std::move(hook); }

void AfxCallModalIdleHook() {
    // A copy: the hook may replace itself.
    std::function<void()> hook = IdleHook();
    if (hook) hook();
}

void AfxPumpMessages() {
    // A host may call our idle again from inside a callback we make while
    // pumping; the outer pump carries on, the inner one returns.
    if (pumping) return;
    pumping = true;
    for (const std::shared_ptr<UIConnection>& connection : UIConnection::All())
        if (connection->IsOpen()) connection->DispatchQueuedEvents();
    MessageQueue::DeliverPosted();
    MessageQueue::FireDueTimers();
    for (const std::shared_ptr<UIConnection>& connection : UIConnection::All())
        if (connection->IsOpen()) connection->PaintAndPresent();
    std::vector<HWND> windowless;
    for (CWnd* root : WindowTree::WindowlessRoots()) windowless.push_back(root->m_hWnd);
    for (HWND handle : windowless)
        if (CWnd* root = CWnd::FromHandle(handle)) WindowTree::PaintRoot(root);
    pumping = false;
}
