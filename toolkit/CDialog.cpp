#include "toolkit/CDialog.h"

#include <algorithm>

#include "toolkit/CButton.h"
#include "toolkit/CComboBox.h"
#include "toolkit/CDC.h"
#include "toolkit/CEdit.h"
#include "toolkit/CStatic.h"
#include "toolkit/ControlPaint.h"
#include "toolkit/UIConnection.h"

IMPLEMENT_DYNAMIC(CDialog, CWnd)

BEGIN_MESSAGE_MAP(CDialog, CWnd)
END_MESSAGE_MAP()

namespace {

constexpr DWORD kControlStyle = WS_CHILD | WS_VISIBLE;

// Creates control as the template entry says, when its class fits the kind.
bool CreateByKind(CWnd& control, const DialogControlTemplate& entry, CWnd* dialog) {
    const char* caption = entry.caption.c_str();
    switch (entry.kind) {
    case DialogControlKind::Static:
        if (auto* label = dynamic_cast<CStatic*>(&control))
            return label->Create(caption, kControlStyle | SS_LEFT, entry.rect, dialog, entry.id);
        return false;
    case DialogControlKind::Edit:
        if (auto* edit = dynamic_cast<CEdit*>(&control)) {
            if (!edit->Create(kControlStyle | WS_TABSTOP | WS_BORDER | ES_AUTOHSCROLL, entry.rect,
                              dialog, entry.id))
                return false;
            // The template's text, without a change notification.
            if (!entry.caption.empty()) edit->CWnd::SetWindowText(caption);
            return true;
        }
        return false;
    case DialogControlKind::Combo:
        if (auto* combo = dynamic_cast<CComboBox*>(&control))
            return combo->Create(kControlStyle | WS_TABSTOP | CBS_DROPDOWNLIST, entry.rect, dialog,
                                 entry.id);
        return false;
    case DialogControlKind::Button:
    case DialogControlKind::DefButton:
        if (auto* button = dynamic_cast<CButton*>(&control)) {
            const DWORD kind =
                entry.kind == DialogControlKind::DefButton ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON;
            return button->Create(caption, kControlStyle | WS_TABSTOP | kind, entry.rect, dialog,
                                  entry.id);
        }
        return false;
    }
    return false;
}

CWnd* NewControlFor(DialogControlKind kind) {
    switch (kind) {
    case DialogControlKind::Static: return new CStatic;
    case DialogControlKind::Edit: return new CEdit;
    case DialogControlKind::Combo: return new CComboBox;
    case DialogControlKind::Button:
    case DialogControlKind::DefButton: return new CButton;
    }
    return nullptr;
}

bool TakesFocus(const CWnd* w) {
    return w && (w->GetStyle() & WS_TABSTOP) && w->IsWindowVisible() && w->IsWindowEnabled();
}

}  // namespace

void DDX_Control(CDataExchange* dx, int id, CWnd& control) {
    if (!dx || !dx->m_pDlgWnd) return;
    if (dx->m_pBindings) {
        dx->m_pBindings->emplace_back(id, &control);
        return;
    }
    if (control.GetSafeHwnd()) return;  // bound when the dialog made its controls
    CDialog* dialog = dx->m_pDlgWnd;
    if (dialog->GetSafeHwnd() && !dialog->GetDlgItem(id)) dialog->CreateControlFromTemplate(id, control);
}

CDialog::CDialog(UINT templateId, CWnd* parent) : m_templateId(templateId), m_parentWnd(parent) {}

CDialog::~CDialog() { DestroyDialogWindow(); }

void CDialog::SetTemplate(const DialogTemplate& dialogTemplate) {
    m_template = dialogTemplate;
    m_haveTemplate = true;
}

bool CDialog::CreateControlFromTemplate(int id, CWnd& control) {
    const DialogControlTemplate* entry = m_template.Find(id);
    return entry && GetSafeHwnd() && CreateByKind(control, *entry, this);
}

// The parent given to the constructor, else the root that input is going
// to (the editor window whose button opened the dialog).
CWnd* CDialog::FindOwner() const {
    if (m_parentWnd) return m_parentWnd->GetSafeHwnd() ? m_parentWnd : nullptr;
    UIConnection* connection = UIConnection::Current();
    return connection ? connection->InputRoot() : nullptr;
}

// Centred on the owner's root window, else on the screen; kept on screen.
CRect CDialog::PlaceOnScreen(CWnd* owner, CSize size) const {
    UIConnection* connection = owner ? owner->GetConnection() : UIConnection::Current();
    const CSize screen = connection ? connection->ScreenSize() : CSize(0, 0);
    CRect around(0, 0, screen.cx, screen.cy);
    if (owner) {
        CWnd* root = owner;
        while (root->GetParent() && root->GetParent()->GetNativeWindow() == root->GetNativeWindow())
            root = root->GetParent();
        root->GetWindowRect(&around);
    }
    int x = around.left + (around.Width() - size.cx) / 2;
    int y = around.top + (around.Height() - size.cy) / 2;
    if (screen.cx > 0) x = std::max(0, std::min(x, screen.cx - size.cx));
    if (screen.cy > 0) y = std::max(0, std::min(y, screen.cy - size.cy));
    return CRect(CPoint(x, y), size);
}

intptr_t CDialog::DoModal() {
    if (m_running || GetSafeHwnd()) return -1;
    if (!m_haveTemplate && !LoadDialogTemplate(m_templateId, m_template)) return -1;
    CWnd* owner = FindOwner();
    UIConnection* connection = owner ? owner->GetConnection() : UIConnection::Current();
    if (!connection || !connection->IsOpen()) return -1;

    const CRect place = PlaceOnScreen(owner, CSize(m_template.width, m_template.height));
    LPCTSTR cls = AfxRegisterWndClass(0, LoadCursor(nullptr, IDC_ARROW),
                                      static_cast<HBRUSH>(GetStockObject(NULL_BRUSH)));
    if (!UIConnection::CreateTopLevelRoot(*this, cls, m_template.title.c_str(), place, owner))
        return -1;
    const HWND self = GetSafeHwnd();
    const HWND focusBefore = CWnd::GetFocus() ? CWnd::GetFocus()->GetSafeHwnd() : nullptr;

    // Which members stand for which controls, then the controls in order.
    std::vector<std::pair<int, CWnd*>> bindings;
    {
        CDataExchange ask(this, FALSE);
        ask.m_pBindings = &bindings;
        DoDataExchange(&ask);
    }
    for (const DialogControlTemplate& entry : m_template.controls) {
        auto bound = std::find_if(bindings.begin(), bindings.end(),
                                  [&](const auto& b) { return b.first == entry.id; });
        if (bound != bindings.end()) {
            if (!bound->second->GetSafeHwnd()) CreateByKind(*bound->second, entry, this);
            continue;
        }
        CWnd* control = NewControlFor(entry.kind);
        if (control && CreateByKind(*control, entry, this)) m_ownedControls.push_back(control);
        else delete control;
    }

    m_result = -1;
    m_running = true;
    // The mouse belongs to the dialog now, not to a window that captured it.
    if (CWnd::GetCapture()) ReleaseCapture();
    ShowWindow(SW_SHOW);
    if (OnInitDialog() && CWnd::FromHandle(self) == this) FocusFirstControl();
    if (m_running && CWnd::FromHandle(self) == this) {
        UpdateWindow();
        connection->RunModalLoop([this] { return m_running; }, this);
    }
    if (m_running) m_result = IDCANCEL;  // the window or the connection went away
    m_running = false;
    DestroyDialogWindow();
    if (CWnd* before = CWnd::FromHandle(focusBefore)) before->SetFocus();
    return m_result;
}

void CDialog::DestroyDialogWindow() {
    if (GetSafeHwnd()) DestroyWindow();
    for (CWnd* control : m_ownedControls) delete control;
    m_ownedControls.clear();
}

BOOL CDialog::OnInitDialog() {
    UpdateData(FALSE);
    return TRUE;
}

void CDialog::OnOK() { EndDialog(IDOK); }

void CDialog::OnCancel() { EndDialog(IDCANCEL); }

void CDialog::EndDialog(int result) {
    m_result = result;
    m_running = false;
}

BOOL CDialog::UpdateData(BOOL saveAndValidate) {
    CDataExchange dx(this, saveAndValidate);
    DoDataExchange(&dx);
    return TRUE;
}

// The first edit field or combo box takes the focus, else the first control
// that takes any, else the dialog itself (so that its keys arrive).
void CDialog::FocusFirstControl() {
    for (CWnd* child : GetChildren()) {
        if (TakesFocus(child) && (dynamic_cast<CEdit*>(child) || dynamic_cast<CComboBox*>(child))) {
            child->SetFocus();
            return;
        }
    }
    for (CWnd* child : GetChildren()) {
        if (TakesFocus(child)) {
            child->SetFocus();
            return;
        }
    }
    SetFocus();
}

void CDialog::MoveFocus(int direction) {
    std::vector<CWnd*> stops;
    for (CWnd* child : GetChildren())
        if (TakesFocus(child)) stops.push_back(child);
    if (stops.empty()) return;
    auto at = std::find(stops.begin(), stops.end(), CWnd::GetFocus());
    int index = at == stops.end() ? (direction > 0 ? -1 : 0) : static_cast<int>(at - stops.begin());
    const int count = static_cast<int>(stops.size());
    index = (index + direction + count) % count;
    stops[index]->SetFocus();
    if (CEdit* edit = dynamic_cast<CEdit*>(stops[index])) edit->SetSel(0, -1);
}

BOOL CDialog::PreTranslateMessage(MSG* msg) {
    if (msg->message != WM_KEYDOWN || !m_running) return FALSE;
    // Only keys aimed at this dialog's own window (not at a popup it owns).
    CWnd* target = CWnd::FromHandle(msg->hwnd);
    bool inside = false;
    for (CWnd* w = target; w; w = w->GetParent()) {
        if (w == this) {
            inside = true;
            break;
        }
        if (w->GetNativeWindow() != GetNativeWindow()) break;
    }
    if (!inside) return FALSE;
    switch (msg->wParam) {
    case keycode::Return:
    case keycode::KeypadEnter: {
        if (CButton* focused = dynamic_cast<CButton*>(CWnd::GetFocus())) {
            if (focused->GetParent() == this) {
                focused->Click();
                return TRUE;
            }
        }
        for (CWnd* child : GetChildren()) {
            CButton* button = dynamic_cast<CButton*>(child);
            if (button && (button->GetStyle() & BS_DEFPUSHBUTTON) && button->IsWindowEnabled()) {
                button->Click();
                return TRUE;
            }
        }
        SendMessage(WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), 0);
        return TRUE;
    }
    case keycode::Escape: {
        CWnd* cancel = GetDlgItem(IDCANCEL);
        SendMessage(WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED),
                    reinterpret_cast<LPARAM>(cancel ? cancel->GetSafeHwnd() : nullptr));
        return TRUE;
    }
    case keycode::Tab:
        MoveFocus(GetKeyState(VK_SHIFT) < 0 ? -1 : 1);
        return TRUE;
    default:
        return FALSE;
    }
}

LRESULT CDialog::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_COMMAND:
        if (HIWORD(wParam) == BN_CLICKED && LOWORD(wParam) == IDOK) {
            OnOK();
            return 0;
        }
        if (HIWORD(wParam) == BN_CLICKED && LOWORD(wParam) == IDCANCEL) {
            OnCancel();
            return 0;
        }
        return 0;
    case WM_CLOSE:
        // The window manager's close button; DoModal destroys the window.
        if (m_running) OnCancel();
        else DestroyWindow();
        return 0;
    case WM_ERASEBKGND:
        return TRUE;  // WM_PAINT fills the face
    case WM_PAINT: {
        CPaintDC dc(this);
        ControlPainter paint(dc);
        CRect client;
        GetClientRect(&client);
        paint.Fill(client, theme::Face);
        return 0;
    }
    default:
        break;
    }
    return CWnd::DefWindowProc(message, wParam, lParam);
}
