#include "toolkit/MessageBoxDialog.h"

#include <algorithm>

#include "toolkit/CStatic.h"
#include "toolkit/ControlPaint.h"
#include "toolkit/Gdi.h"
#include "toolkit/UIConnection.h"

namespace {
constexpr int kMargin = 18;
constexpr int kButtonWidth = 84;
constexpr int kButtonHeight = 26;
constexpr int kButtonGap = 8;
constexpr int kMinWidth = 260;
}  // namespace

CMessageBoxDialog::CMessageBoxDialog(const char* text, unsigned type)
    : CDialog(0, nullptr), m_hasCancel((type & 0x0F) == MB_OKCANCEL) {
    SetTemplate(MakeTemplate(text, type));
}

DialogTemplate CMessageBoxDialog::MakeTemplate(const char* text, unsigned type) {
    CFont* font = AfxGetControlFont();
    const TextMeasure measure(font);
    const std::vector<std::string> lines = CStatic::WrapLines(text, kMaxTextWidth, font);
    int textWidth = 0;
    for (const std::string& line : lines) textWidth = std::max(textWidth, measure.Width(line.c_str()));
    const int textHeight = static_cast<int>(lines.size()) * font->GetLineHeight();
    const bool withCancel = (type & 0x0F) == MB_OKCANCEL;
    const int buttonsWidth = withCancel ? 2 * kButtonWidth + kButtonGap : kButtonWidth;

    DialogTemplate t;
    t.title = "TapDelay";
    t.width = std::max({kMinWidth, textWidth + 2 * kMargin, buttonsWidth + 2 * kMargin});
    const int buttonTop = kMargin + textHeight + kMargin;
    t.height = buttonTop + kButtonHeight + kMargin - 4;
    // Every line fitted the wrapping width and no longer line did, so the
    // label breaks in the same places at the width of its widest line.
    t.controls.push_back({DialogControlKind::Static, kTextId,
                          CRect(kMargin, kMargin, kMargin + textWidth + 1, kMargin + textHeight),
                          text ? text : ""});
    int right = t.width - kMargin;
    if (withCancel) {
        t.controls.push_back({DialogControlKind::Button, IDCANCEL,
                              CRect(right - kButtonWidth, buttonTop, right, buttonTop + kButtonHeight),
                              "Cancel"});
        right -= kButtonWidth + kButtonGap;
    }
    t.controls.insert(t.controls.end() - (withCancel ? 1 : 0),
                      {DialogControlKind::DefButton, IDOK,
                       CRect(right - kButtonWidth, buttonTop, right, buttonTop + kButtonHeight), "OK"});
    return t;
}

void CMessageBoxDialog::OnCancel() { EndDialog(m_hasCancel ? IDCANCEL : IDOK); }

int AfxShowMessageWindow(const char* text, unsigned type) {
    UIConnection* connection = UIConnection::Current();
    if (!connection || !connection->IsOpen() || !connection->OnOwnThread()) return -1;
    CMessageBoxDialog box(text, type);
    const intptr_t answer = box.DoModal();
    return answer < 0 ? -1 : static_cast<int>(answer);
}
