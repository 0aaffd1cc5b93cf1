#include "toolkit/CMenu.h"

#include "toolkit/CWnd.h"
#include "toolkit/ControlPaint.h"
#include "toolkit/MenuLayout.h"
#include "toolkit/MenuPopup.h"
#include "toolkit/UIConnection.h"

IMPLEMENT_DYNCREATE(CMenu, CObject)

namespace {
constexpr size_t kMaxItems = 4096;
}  // namespace

BOOL CMenu::CreatePopupMenu() {
    if (m_created) return FALSE;
    m_created = true;
    m_items.clear();
    return TRUE;
}

BOOL CMenu::DestroyMenu() {
    if (!m_created) return FALSE;
    m_created = false;
    m_items.clear();
    return TRUE;
}

BOOL CMenu::AppendMenu(UINT flags, UINT_PTR id, LPCTSTR text) {
    if (!m_created || m_items.size() >= kMaxItems) return FALSE;
    m_items.push_back(Item{flags, id, (flags & MF_SEPARATOR) || !text ? std::string() : text});
    return TRUE;
}

BOOL CMenu::TrackPopupMenu(UINT flags, int x, int y, CWnd* owner, LPCRECT /*rect*/) {
    if (!m_created || m_items.empty()) return 0;
    if (owner && !owner->GetSafeHwnd()) return 0;
    UIConnection* connection = owner ? owner->GetConnection() : UIConnection::Current();
    if (!connection || !connection->IsOpen()) return 0;
    const HWND ownerHandle = owner ? owner->GetSafeHwnd() : nullptr;

    CPoint at(x, y);
    if (owner) owner->ClientToScreen(&at);
    const CSize screen = connection->ScreenSize();
    const TextMeasure measure(AfxGetControlFont());
    MenuLayout layout = LayoutMenu(m_items, measure, screen.cy - 2 * menu_metrics::kScreenMargin);
    const CPoint place = PlacePopup(at, layout.size, screen);

    // The popup works on a copy: the owner may change this menu meanwhile.
    const std::vector<Item> items = m_items;
    CMenuPopup popup(items, std::move(layout));
    const int chosen = popup.Run(owner, place);
    if (chosen < 0 || chosen >= static_cast<int>(items.size())) return 0;
    const UINT_PTR id = items[chosen].id;
    if (flags & TPM_RETURNCMD) return static_cast<BOOL>(id);
    // Sent once the popup is gone, as Win32 does.
    if (owner && CWnd::FromHandle(ownerHandle) == owner)
        owner->SendMessage(WM_COMMAND, MAKEWPARAM(static_cast<int>(id), 0), 0);
    return TRUE;
}
