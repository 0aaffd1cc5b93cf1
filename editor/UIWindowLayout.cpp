// Where everything sits: six tap rows 39 pixels apart and the global
// controls, and the creation of every control at its place with the effect's
// current value.
#include "editor/CDelayEditor.h"
#include "editor/CUIWindow.h"
#include "effect/ATapDelay.h"

namespace {

constexpr int kRowPitch = 39;

// One rectangle of a tap row: controls 16 pixels high on the row's band,
// knobs 34 x 34 reaching 9 pixels above and below it.
CRect RowRect(int left, int right, int tap, bool knob = false) {
    int top = 80 + kRowPitch * tap;
    int bottom = 96 + kRowPitch * tap;
    if (knob) {
        top -= 9;
        bottom += 9;
    }
    return CRect(left, top, right, bottom);
}

// The global controls: control rectangle and value-text rectangle.
struct GlobalControl {
    CRect control;
    CRect text;
};
const GlobalControl kInput = {CRect(32, 190, 48, 323), CRect(13, 329, 47, 345)};
const GlobalControl kOutput = {CRect(754, 190, 770, 323), CRect(755, 329, 789, 345)};
const GlobalControl kFeedback = {CRect(390, 333, 488, 349), CRect(340, 333, 388, 349)};
const GlobalControl kBalance = {CRect(597, 333, 695, 349), CRect(546, 333, 594, 349)};
const CRect kFeedbackSwitch(314, 336, 328, 348);
const CRect kTempoSyncSwitch(149, 336, 163, 348);
const CRect kSyncNoteText(175, 334, 230, 350);
const CRect kPowerSwitch(23, 7, 52, 27);
const CRect kCopyButton(64, 10, 79, 27);
const CRect kModifiedIndicator(216, 10, 259, 26);

}  // namespace

void CUIWindow::GetDelaySWRect(CRect* r, int i) const { *r = RowRect(74, 84, i); }
void CUIWindow::GetDelayTimeDispRect(CRect* r, int i) const { *r = RowRect(88, 136, i); }
void CUIWindow::GetDelayTimeRect(CRect* r, int i) const { *r = RowRect(138, 236, i); }
void CUIWindow::GetDelayGainDispRect(CRect* r, int i) const { *r = RowRect(242, 290, i); }
void CUIWindow::GetDelayGainRect(CRect* r, int i) const { *r = RowRect(291, 325, i, true); }
void CUIWindow::GetDelayPanDispRect(CRect* r, int i) const { *r = RowRect(330, 378, i); }
void CUIWindow::GetDelayPanRect(CRect* r, int i) const { *r = RowRect(379, 413, i, true); }
void CUIWindow::GetEQSWRect(CRect* r, int i) const { *r = RowRect(419, 429, i); }
void CUIWindow::GetEQTypeRect(CRect* r, int i) const { *r = RowRect(433, 469, i); }
void CUIWindow::GetEQCutoffDispRect(CRect* r, int i) const { *r = RowRect(474, 522, i); }
void CUIWindow::GetEQCutoffRect(CRect* r, int i) const { *r = RowRect(523, 557, i, true); }
void CUIWindow::GetEQQDispRect(CRect* r, int i) const { *r = RowRect(561, 609, i); }
void CUIWindow::GetEQQRect(CRect* r, int i) const { *r = RowRect(610, 644, i, true); }
void CUIWindow::GetEQGainDispRect(CRect* r, int i) const { *r = RowRect(648, 696, i); }
void CUIWindow::GetEQGainRect(CRect* r, int i) const { *r = RowRect(697, 731, i, true); }

CUIWindow::CUIWindow() = default;
CUIWindow::~CUIWindow() = default;

ATapDelay* CUIWindow::Effect() const { return static_cast<ATapDelay*>(m_editor->getEffect()); }

BOOL CUIWindow::MakeWindow(CWnd* parent, CVMQBitmap* background, CDelayEditor* editor) {
    // Double clicks delivered, arrow cursor, and no background brush: the
    // window paints every pixel itself.
    LPCTSTR windowClass = AfxRegisterWndClass(CS_DBLCLKS, LoadCursor(nullptr, IDC_ARROW),
                                              static_cast<HBRUSH>(GetStockObject(NULL_BRUSH)));
    m_editor = editor;
    m_background = background;
    m_parentWnd = parent;
    m_valueFont.CreatePointFont(9, "Osaka");
    m_entryFont.CreatePointFont(12, "Osaka");
    CRect rect(0, 0, background->Width(), background->Height());
    return Create(windowClass, "UIWindow", WS_CHILD | WS_VISIBLE, rect, parent, 0);
}

int CUIWindow::OnCreate(LPCREATESTRUCT cs) {
    if (CWnd::OnCreate(cs) == -1) return -1;
    LoadBitmaps();
    m_modifiedRect = kModifiedIndicator;
    SetTextRects();
    MakeSliders();
    MakeKnobs();
    MakeSwitches();
    for (float& reading : m_meterDb) reading = -38.0f;

    // The entry field waits hidden until a value text is clicked.
    CWindowAttr where;
    where.rect = CRect(static_cast<int32_t>(0x80000000), static_cast<int32_t>(0x80000000),
                       static_cast<int32_t>(0x80000000), static_cast<int32_t>(0x80000000));
    m_entry.MakeWindow(this, this, "", &where, 6, &m_entryFont, true);

    m_entryTarget = -1;
    m_meterCounter = 0xFFFF;
    // Meters are driven by the host's idle calls; this timer has no handler.
    SetTimer(1024, 75);
    return 0;
}

void CUIWindow::LoadBitmaps() {
    struct Load {
        CVMQBitmap* bitmap;
        int id;
    };
    const Load order[] = {
        {&m_bmpKnob, 3004},     {&m_bmpPowerOff, 3002},  {&m_bmpPowerOn, 3003},
        {&m_bmpLogo, 3001},     {&m_bmpHTrack, 3006},    {&m_bmpVTrack, 3016},
        {&m_bmpVHandle, 3007},  {&m_bmpHHandle, 3015},   {&m_bmpMeter, 3008},
        {&m_bmpDelayOff, 3010}, {&m_bmpDelayOn, 3009},   {&m_bmpEQOff, 3018},
        {&m_bmpEQOn, 3017},     {&m_bmpSmallOff, 3020},  {&m_bmpSmallOn, 3019},
        {&m_bmpCopyOff, 3012},  {&m_bmpCopyOn, 3011},    {&m_bmpSave, 5016},
        {&m_bmpModified, 5017},
    };
    const double scale = GetDeviceScale();
    for (const Load& load : order) load.bitmap->LoadResourceBitmap(MAKEINTRESOURCE(load.id), scale);
}

void CUIWindow::SetScale(float scale) {
    if (!GetSafeHwnd()) return;
    SetDeviceScale(scale);
    LoadBitmaps();
    Invalidate(TRUE);
}

void CUIWindow::SetTextRects() {
    m_inputDisp = kInput.text;
    m_outputDisp = kOutput.text;
    m_feedbackDisp = kFeedback.text;
    m_balanceDisp = kBalance.text;
    for (int i = 0; i < kNumTaps; i++) {
        GetDelayTimeDispRect(&m_delayTimeDisp[i], i);
        GetDelayGainDispRect(&m_delayGainDisp[i], i);
        GetDelayPanDispRect(&m_delayPanDisp[i], i);
        GetEQCutoffDispRect(&m_eqCutoffDisp[i], i);
        GetEQQDispRect(&m_eqQDisp[i], i);
        GetEQGainDispRect(&m_eqGainDisp[i], i);
    }
}

void CUIWindow::MakeSliders() {
    ATapDelay* effect = Effect();
    // Level sliders: vertical, logarithmic, handle travelling from the
    // track's bottom (minimum) to its top (maximum).
    const int vTrackH = m_bmpVTrack.Height();
    const int vHandleH = m_bmpVHandle.Height();
    const CPoint vBottom(1, vTrackH - vHandleH / 2), vTop(1, vHandleH / 2);
    auto makeLevel = [&](CVMQBitmapSliderDC& slider, const GlobalControl& place, int id, int param) {
        slider.Make(place.control, place.text, this, &m_bmpVTrack, nullptr, &m_bmpVHandle, 0.0f, 1.0f,
                    vBottom, vTop, id, 1, true, false, false, false, ControlCallback, this);
        slider.SetValue(effect->getParameter(param), nullptr, false);
    };
    makeLevel(m_inputSlider, kInput, 106, kParamInput);
    makeLevel(m_outputSlider, kOutput, 107, kParamOutput);

    // Horizontal sliders: linear, handle travelling left (minimum) to right.
    const int hTrackW = m_bmpHTrack.Width();
    const int hHandleW = m_bmpHHandle.Width();
    const CPoint hLeft(hHandleW / 2, 1), hRight(hTrackW - hHandleW / 2, 1);
    auto makeHorizontal = [&](CVMQBitmapSliderDC& slider, const CRect& rect, const CRect& text, int id,
                              int param) {
        slider.Make(rect, text, this, &m_bmpHTrack, nullptr, &m_bmpHHandle, 0.0f, 1.0f, hLeft, hRight,
                    id, 0, false, false, false, false, ControlCallback, this);
        slider.SetValue(effect->getParameter(param), nullptr, false);
    };
    for (int i = 0; i < kNumTaps; i++) {
        CRect rect;
        GetDelayTimeRect(&rect, i);
        makeHorizontal(m_delayTimeSlider[i], rect, m_delayTimeDisp[i], 120 + i, kParamDelayTime + i);
    }
    makeHorizontal(m_feedbackSlider, kFeedback.control, kFeedback.text, 201, kParamFeedBack);
    makeHorizontal(m_balanceSlider, kBalance.control, kBalance.text, 202, kParamBalance);
}

void CUIWindow::MakeKnobs() {
    ATapDelay* effect = Effect();
    auto makeKnob = [&](CVMQNewBitmapTumamiDC& knob, const CRect& rect, const CRect& text, int id,
                        int param) {
        knob.Make(rect, text, this, &m_bmpKnob, 0.0f, 1.0f, id, 61, 30.0f, 330.0f, 8, false,
                  ControlCallback, this);
        knob.SetValue(effect->getParameter(param), nullptr, false);
    };
    for (int i = 0; i < kNumTaps; i++) {
        CRect rect;
        GetDelayGainRect(&rect, i);
        makeKnob(m_gainKnob[i], rect, m_delayGainDisp[i], 130 + i, kParamDelayGain + i);
        GetDelayPanRect(&rect, i);
        makeKnob(m_panKnob[i], rect, m_delayPanDisp[i], 140 + i, kParamDelayPan + i);
        GetEQCutoffRect(&rect, i);
        makeKnob(m_cutoffKnob[i], rect, m_eqCutoffDisp[i], 170 + i, kParamFilterCutoff + i);
        GetEQQRect(&rect, i);
        makeKnob(m_qKnob[i], rect, m_eqQDisp[i], 180 + i, kParamFilterQ + i);
        GetEQGainRect(&rect, i);
        makeKnob(m_eqGainKnob[i], rect, m_eqGainDisp[i], 190 + i, kParamFilterGain + i);
    }
}

void CUIWindow::MakeSwitches() {
    ATapDelay* effect = Effect();
    auto makeSwitch = [&](CVMQBitmapSwitch2DC& sw, const CRect& rect, CVMQBitmap* off, CVMQBitmap* on,
                          int id, int param) {
        sw.Make(rect, this, off, on, id, rect, false, nullptr, ControlCallback, this);
        if (param >= 0) sw.SetValue(static_cast<int>(effect->getParameter(param)), false);
    };
    for (int i = 0; i < kNumTaps; i++) {
        CRect rect;
        GetDelaySWRect(&rect, i);
        makeSwitch(m_delaySwitch[i], rect, &m_bmpDelayOff, &m_bmpDelayOn, 109 + i, kParamDelayOnOff + i);
        GetEQSWRect(&rect, i);
        makeSwitch(m_eqSwitch[i], rect, &m_bmpEQOff, &m_bmpEQOn, 150 + i, kParamFilterOnOff + i);
        GetEQTypeRect(&m_eqTypeDisp[i], i);
    }
    makeSwitch(m_feedbackSwitch, kFeedbackSwitch, &m_bmpSmallOff, &m_bmpSmallOn, 200, kParamFeedBackOnOff);
    makeSwitch(m_powerSwitch, kPowerSwitch, &m_bmpPowerOff, &m_bmpPowerOn, 108, kParamOnOff);
    makeSwitch(m_tempoSyncSwitch, kTempoSyncSwitch, &m_bmpSmallOff, &m_bmpSmallOn, 301, kParamTempoSync);
    makeSwitch(m_copyButton, kCopyButton, &m_bmpCopyOff, &m_bmpCopyOn, 300, -1);
    m_syncNoteDisp = kSyncNoteText;
}

// Control ids and the parameters they write.
int ParameterOfControl(int id) {
    if (id == 106) return kParamInput;
    if (id == 107) return kParamOutput;
    if (id == 108) return kParamOnOff;
    if (id >= 109 && id < 109 + kNumTaps) return kParamDelayOnOff + (id - 109);
    struct Group {
        int firstId;
        int firstParam;
    };
    static const Group groups[] = {
        {120, kParamDelayTime},    {130, kParamDelayGain},  {140, kParamDelayPan},
        {150, kParamFilterOnOff},  {160, kParamFilterType}, {170, kParamFilterCutoff},
        {180, kParamFilterQ},      {190, kParamFilterGain},
    };
    for (const Group& g : groups)
        if (id >= g.firstId && id < g.firstId + kNumTaps) return g.firstParam + (id - g.firstId);
    if (id == 200) return kParamFeedBackOnOff;
    if (id == 201) return kParamFeedBack;
    if (id == 202) return kParamBalance;
    if (id == 301) return kParamTempoSync;
    return -1;
}

// Entry-target codes and the parameters they type into.
int ParameterOfEntryTarget(int target) {
    if (target == 210) return kParamInput;
    if (target == 211) return kParamOutput;
    if (target == 280) return kParamFeedBack;
    if (target == 281) return kParamBalance;
    struct Group {
        int firstCode;
        int firstParam;
    };
    static const Group groups[] = {
        {220, kParamDelayTime},    {230, kParamDelayGain}, {240, kParamDelayPan},
        {250, kParamFilterCutoff}, {260, kParamFilterQ},   {270, kParamFilterGain},
    };
    for (const Group& g : groups)
        if (target >= g.firstCode && target < g.firstCode + kNumTaps) return g.firstParam + (target - g.firstCode);
    return -1;
}
