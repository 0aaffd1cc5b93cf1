// How the window reacts: clicks, drags, the two value menus, typed entry,
// and the control callback that turns a control's change into a parameter.
#include <cstdlib>
#include <cstring>

#include "editor/CDelayEditor.h"
#include "editor/CPresetSaveDlg.h"
#include "editor/CUIWindow.h"
#include "editor/EntryFieldMessages.h"
#include "effect/ATapDelay.h"
#include "toolkit/CMenu.h"
#include "toolkit/TextConvert.h"

namespace {

const CRect kSaveRect(270, 10, 313, 26);
const CRect kCopyRect(64, 10, 79, 27);
constexpr int kSyncNoteMenuId = 1000;
constexpr int kCopyMenuId = 1010;
constexpr int kSizeMenuId = 1200;  // 100 %, 150 %, 200 %, follow the desktop

struct SizeEntry {
    float choice;
    const char* text;
};
constexpr SizeEntry kSizeEntries[] = {
    {1.0f, "100 %"}, {1.5f, "150 %"}, {2.0f, "200 %"}, {0.0f, "Follow the desktop"}};

}  // namespace

BEGIN_MESSAGE_MAP(CUIWindow, CWnd)
    ON_WM_CREATE()
    ON_WM_PAINT()
    ON_WM_SIZE()
    ON_WM_DESTROY()
    ON_WM_LBUTTONDOWN()
    ON_WM_LBUTTONDBLCLK()
    ON_WM_MOUSEMOVE()
    ON_WM_LBUTTONUP()
    ON_MESSAGE(WM_ENTRY_RETURN, OnInputValReturn)
    ON_COMMAND_RANGE(1000, 1003, OnSelSyncNote)
    ON_COMMAND_RANGE(1010, 1110, OnSelCopyPg)
    ON_WM_RBUTTONDOWN()
    ON_COMMAND_RANGE(1200, 1203, OnSelSize)
END_MESSAGE_MAP()

// --- control callback ---------------------------------------------------------------

void CUIWindow::ChangeControl(int id, float value) {
    ATapDelay* effect = Effect();
    if (id == 108) {
        effect->setParameterFormUI(kParamOnOff, value);
        // Shift-click also resets this program to its factory values;
        // Control-click asks for all programs.
        if (GetKeyState(VK_SHIFT) < 0)
            effect->ProgramToFactory();
        else if (GetKeyState(VK_CONTROL) < 0)
            effect->ProgramToAllFactory();
    } else {
        int parameter = ParameterOfControl(id);
        if (parameter >= 0) effect->setParameterFormUI(parameter, value);
    }
    InvalidateRect(&m_modifiedRect, TRUE);
}

// --- automation gestures ------------------------------------------------------------

// Hosts record automation per gesture: a drag is framed by begin and end edit
// around the automate messages the effect sends for each move.
void CUIWindow::BeginGesture(int parameter) {
    EndGesture();
    m_gestureParam = parameter;
    Effect()->beginEdit(parameter);
}

void CUIWindow::EndGesture() {
    if (m_gestureParam < 0) return;
    int parameter = m_gestureParam;
    m_gestureParam = -1;
    Effect()->endEdit(parameter);
}

// A switch click is one gesture of its own.
void CUIWindow::ToggleSwitch(CVMQBitmapSwitch2DC& sw, int parameter) {
    CClientDC dc(this);
    BeginGesture(parameter);
    sw.SetValue(sw.GetValue() ? 0 : 1, true);
    EndGesture();
    sw.DrawSwitch(&dc);
}

// --- typed entry --------------------------------------------------------------------

void CUIWindow::ShowEdit(int value, int min, int max, bool isSigned, int digits, CRect rect, int target) {
    m_entry.SetNewValue(value, min, max);
    m_entry.SetSingnFlag(isSigned);
    m_entry.ChangeSize(digits, isSigned);
    m_entry.SetWindowPos(nullptr, rect.left + 1, rect.top, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    m_entry.SelectAll();
    m_entry.ShowWindow(SW_SHOW);
    m_entry.FocusEdit();
    m_entryTarget = target;
}

void CUIWindow::HideEdit() {
    m_entryTarget = -1;
    if (m_entry.IsWindowVisible()) m_entry.ShowWindow(SW_HIDE);
}

bool CUIWindow::OpenTypedEntry(CPoint point) {
    struct Text {
        const CRect* rect;
        int parameter;
        int digits;
        int target;
    };
    Text texts[4 + 6 * kNumTaps] = {
        {&m_inputDisp, kParamInput, 4, 210},
        {&m_outputDisp, kParamOutput, 4, 211},
        {&m_feedbackDisp, kParamFeedBack, 4, 280},
        {&m_balanceDisp, kParamBalance, 4, 281},
    };
    int n = 4;
    for (int i = 0; i < kNumTaps; i++) {
        texts[n++] = {&m_delayTimeDisp[i], kParamDelayTime + i, 6, 220 + i};
        texts[n++] = {&m_delayGainDisp[i], kParamDelayGain + i, 4, 230 + i};
        texts[n++] = {&m_delayPanDisp[i], kParamDelayPan + i, 4, 240 + i};
        texts[n++] = {&m_eqCutoffDisp[i], kParamFilterCutoff + i, 6, 250 + i};
        texts[n++] = {&m_eqQDisp[i], kParamFilterQ + i, 3, 260 + i};
        texts[n++] = {&m_eqGainDisp[i], kParamFilterGain + i, 4, 270 + i};
    }
    for (const Text& text : texts) {
        if (!text.rect->PtInRect(point)) continue;
        ATapDelay* effect = Effect();
        float min = 0, max = 0;
        GetParamMinMax(text.parameter, &min, &max);
        float value = effect->getParameterDisplayVal(text.parameter);
        ShowEdit(static_cast<int>(value * 10.0f), static_cast<int>(min * 10.0f), static_cast<int>(max * 10.0f),
                 true, text.digits, *text.rect, text.target);
        return true;
    }
    return false;
}

LRESULT CUIWindow::OnInputValReturn(WPARAM, LPARAM) {
    const int parameter = ParameterOfEntryTarget(m_entryTarget);
    if (parameter >= 0) {
        // The field hands its value over as a scaled integer: tenths.
        char digits[51] = {};
        std::strncpy(digits, m_entry.GetEdit().GetValueText(), 50);
        const int tenths = std::atoi(digits);
        // The nudge makes the one-decimal display round to what was typed.
        float value = tenths >= 0 ? tenths / 10.0f + 0.005f : tenths / 10.0f - 0.005f;
        float min = 0, max = 0;
        GetParamMinMax(parameter, &min, &max);
        if (m_entryTarget == 280 || m_entryTarget == 281) {  // typed in per cent
            min *= 100.0f;
            max *= 100.0f;
        }
        if (value < min) value = min;
        if (value > max) value = max;
        Effect()->setParameterFromDiaplay(parameter, value);
    }
    m_entryTarget = -1;
    InvalidateRect(&m_modifiedRect, TRUE);
    return 0;
}

// --- menus --------------------------------------------------------------------------

bool CUIWindow::OpenSyncNoteMenu(CPoint point) {
    ATapDelay* effect = Effect();
    if (!m_syncNoteDisp.PtInRect(point) || effect->getParameter(kParamTempoSync) != 1.0f) return false;
    CMenu menu;
    menu.CreatePopupMenu();
    const int current = static_cast<int>(effect->getParameterDisplayVal(kParamSyncNote));
    for (int note = 0; note < 4; note++)
        menu.AppendMenu(MF_STRING | (note == current ? MF_CHECKED : 0), kSyncNoteMenuId + note, szNote[note]);
    menu.TrackPopupMenu(TPM_LEFTALIGN, m_syncNoteDisp.left, m_syncNoteDisp.top + 3, this);
    return true;
}

bool CUIWindow::OpenCopyMenu(CPoint point) {
    if (!kCopyRect.PtInRect(point)) return false;
    ATapDelay* effect = Effect();
    {
        CClientDC dc(this);
        m_copyButton.LButtonDown(&dc);
    }
    CMenu menu;
    menu.CreatePopupMenu();
    const int current = effect->getProgram();
    for (int program = 0; program < kNumPrograms; program++) {
        char name[64] = {};
        char utf8[256] = {};
        effect->getProgramNameIndexed(0, program, name);
        CheckSJISAndToUFT8(name, utf8, sizeof utf8);
        UINT flags = MF_STRING | (program == current ? MF_CHECKED | MF_DISABLED | MF_GRAYED : 0);
        menu.AppendMenu(flags, kCopyMenuId + program, utf8);
    }
    menu.TrackPopupMenu(TPM_LEFTALIGN, 79, 13, this);
    CClientDC dc(this);
    m_copyButton.LButtonUp(&dc);
    return true;
}

void CUIWindow::OnSelSyncNote(UINT id) {
    Effect()->setParameterFormUI(kParamSyncNote, static_cast<float>(id - kSyncNoteMenuId));
    InvalidateRect(&m_syncNoteDisp, TRUE);
    InvalidateRect(&m_modifiedRect, TRUE);
}

void CUIWindow::OnSelCopyPg(UINT id) {
    Effect()->CopyPgFrom(static_cast<int>(id) - kCopyMenuId);
    InvalidateRect(&m_modifiedRect, TRUE);
}

// --- mouse --------------------------------------------------------------------------

bool CUIWindow::PressGlobalSlider(CPoint point) {
    struct Slider {
        CVMQBitmapSliderDC* slider;
        int parameter;
    };
    const Slider sliders[] = {{&m_inputSlider, kParamInput},
                              {&m_outputSlider, kParamOutput},
                              {&m_feedbackSlider, kParamFeedBack},
                              {&m_balanceSlider, kParamBalance}};
    for (const Slider& s : sliders) {
        if (!s.slider->PtInSwitch(point)) continue;
        BeginGesture(s.parameter);
        CClientDC dc(this);
        s.slider->SetValueByPoint(point);
        s.slider->DrawSlider(&dc);
        return true;
    }
    return false;
}

bool CUIWindow::ToggleGlobalSwitch(CPoint point) {
    struct Switch {
        CVMQBitmapSwitch2DC* sw;
        int parameter;
    };
    const Switch switches[] = {{&m_feedbackSwitch, kParamFeedBackOnOff},
                               {&m_powerSwitch, kParamOnOff},
                               {&m_tempoSyncSwitch, kParamTempoSync}};
    for (const Switch& s : switches) {
        if (!s.sw->PtInSwitch(point)) continue;
        ToggleSwitch(*s.sw, s.parameter);
        return true;
    }
    return false;
}

bool CUIWindow::PressTapRow(CPoint point, int i) {
    CClientDC dc(this);
    if (m_delayTimeSlider[i].PtInSwitch(point)) {
        BeginGesture(kParamDelayTime + i);
        m_delayTimeSlider[i].SetValueByPoint(point);
        m_delayTimeSlider[i].DrawSlider(&dc);
        return true;
    }
    struct Knob {
        CVMQNewBitmapTumamiDC* knob;
        int parameter;
    };
    const Knob knobs[] = {{&m_gainKnob[i], kParamDelayGain + i},
                          {&m_panKnob[i], kParamDelayPan + i},
                          {&m_cutoffKnob[i], kParamFilterCutoff + i},
                          {&m_qKnob[i], kParamFilterQ + i},
                          {&m_eqGainKnob[i], kParamFilterGain + i}};
    for (const Knob& k : knobs) {
        if (!k.knob->PtInTumami(point)) continue;
        BeginGesture(k.parameter);
        k.knob->SetValue(point);
        k.knob->Draw(&dc);
        return true;
    }
    if (m_delaySwitch[i].PtInSwitch(point)) {
        ToggleSwitch(m_delaySwitch[i], kParamDelayOnOff + i);
        return true;
    }
    if (m_eqSwitch[i].PtInSwitch(point)) {
        ToggleSwitch(m_eqSwitch[i], kParamFilterOnOff + i);
        return true;
    }
    if (m_eqTypeDisp[i].PtInRect(point)) {
        // Low shelf, peaking, high shelf, and round again.
        ATapDelay* effect = Effect();
        float type = effect->getParameterDisplayVal(kParamFilterType + i);
        float next = type == 0.0f ? 1.0f : type == 1.0f ? 2.0f : 0.0f;
        effect->setParameterFromDiaplay(kParamFilterType + i, next);
        return true;
    }
    return false;
}

void CUIWindow::OnLButtonDown(UINT flags, CPoint point) {
    if (m_entry.IsWindowVisible()) HideEdit();
    m_entryTarget = -1;
    if (OpenTypedEntry(point)) return;
    if (PressGlobalSlider(point)) return;
    if (ToggleGlobalSwitch(point)) return;
    if (OpenSyncNoteMenu(point)) return;
    if (OpenCopyMenu(point)) return;
    for (int i = 0; i < kNumTaps; i++)
        if (PressTapRow(point, i)) return;
}

void CUIWindow::OnLButtonDblClk(UINT flags, CPoint point) { OnLButtonDown(flags, point); }

namespace {

// The drag order of the window: four global sliders, then per tap the
// delay-time slider and the five knobs.
template <typename SliderFn, typename KnobFn>
bool ForFirstTracking(CVMQBitmapSliderDC* const* globals, int globalCount, CVMQBitmapSliderDC* times,
                      CVMQNewBitmapTumamiDC* const* knobRows, SliderFn onSlider, KnobFn onKnob) {
    for (int s = 0; s < globalCount; s++)
        if (globals[s]->IsTracking()) return onSlider(*globals[s]), true;
    for (int i = 0; i < kNumTaps; i++) {
        if (times[i].IsTracking()) return onSlider(times[i]), true;
        for (int k = 0; k < 5; k++)
            if (knobRows[k][i].IsTracking()) return onKnob(knobRows[k][i]), true;
    }
    return false;
}

}  // namespace

void CUIWindow::OnMouseMove(UINT flags, CPoint point) {
    CWnd::OnMouseMove(flags, point);
    CVMQBitmapSliderDC* globals[] = {&m_inputSlider, &m_outputSlider, &m_feedbackSlider, &m_balanceSlider};
    CVMQNewBitmapTumamiDC* knobRows[] = {m_gainKnob, m_panKnob, m_cutoffKnob, m_qKnob, m_eqGainKnob};
    CClientDC dc(this);
    ForFirstTracking(
        globals, 4, m_delayTimeSlider, knobRows,
        [&](CVMQBitmapSliderDC& slider) { slider.OnMouseMove(point, &dc); },
        [&](CVMQNewBitmapTumamiDC& knob) { knob.OnMouseMove(point, &dc); });
}

void CUIWindow::OnLButtonUp(UINT flags, CPoint point) {
    CVMQBitmapSliderDC* globals[] = {&m_inputSlider, &m_outputSlider, &m_feedbackSlider, &m_balanceSlider};
    CVMQNewBitmapTumamiDC* knobRows[] = {m_gainKnob, m_panKnob, m_cutoffKnob, m_qKnob, m_eqGainKnob};
    bool dragged;
    {
        CClientDC dc(this);
        dragged = ForFirstTracking(
            globals, 4, m_delayTimeSlider, knobRows,
            [&](CVMQBitmapSliderDC& slider) { slider.OnLButtonUp(point, &dc); },
            [&](CVMQNewBitmapTumamiDC& knob) { knob.OnLButtonUp(point, &dc); });
    }
    if (dragged) {
        EndGesture();
        return;
    }
    if (kSaveRect.PtInRect(point)) {
        OpenSaveDialog();
    } else if (m_modifiedRect.PtInRect(point)) {
        Effect()->ProgramToInitial();
    }
}

void CUIWindow::OpenSaveDialog() {
    ATapDelay* effect = Effect();
    CPresetSaveDlg dialog(nullptr, effect);
    if (dialog.DoModal() == IDOK) effect->SaveProgram(dialog.GetSelectedSlot(), dialog.GetName());
}

// Keys a host forwards through effEditKeyDown: only the open entry field has
// a use for them.
bool CUIWindow::ForwardKey(unsigned keyCode, unsigned character) {
    if (!m_entry.IsWindowVisible()) return false;
    return m_entry.DeliverKey(keyCode, character);
}

// --- size menu ----------------------------------------------------------------------

void CUIWindow::OnRButtonDown(UINT, CPoint point) {
    HideEdit();
    CMenu menu;
    menu.CreatePopupMenu();
    menu.AppendMenu(MF_STRING | MF_DISABLED | MF_GRAYED, 0, "Size");
    menu.AppendMenu(MF_SEPARATOR, 0, nullptr);
    const float choice = m_editor->GetScaleChoice();
    for (int k = 0; k < 4; k++)
        menu.AppendMenu(MF_STRING | (kSizeEntries[k].choice == choice ? MF_CHECKED : 0), kSizeMenuId + k,
                        kSizeEntries[k].text);
    menu.TrackPopupMenu(TPM_LEFTALIGN, point.x, point.y, this);
}

void CUIWindow::OnSelSize(UINT id) {
    const int k = static_cast<int>(id) - kSizeMenuId;
    if (k >= 0 && k < 4) m_editor->ChooseScale(kSizeEntries[k].choice);
}
