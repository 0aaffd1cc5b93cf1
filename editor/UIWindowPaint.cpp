// Painting: the background, value texts, meters and status pictures are
// composed off screen and copied in one piece, so nothing flickers; the
// controls then draw themselves straight onto the window.
#include <cstring>

#include "editor/CDelayEditor.h"
#include "editor/CUIWindow.h"
#include "effect/ATapDelay.h"

namespace {

// Left edges of the four meters (input L, R, output L, R) and their top.
constexpr int kMeterLeft[4] = {32, 41, 754, 763};
constexpr int kMeterTop = 50;

// Draws one parameter's display text centred in rect, clipped to it. The
// +3 puts the glyphs' visual centre on the rectangle's centre.
void DrawValueText(CDC* dc, ATapDelay* effect, int parameter, const CRect& rect) {
    char text[64] = {};
    effect->getParameterDisplay(parameter, text);
    CString value(text);
    CSize extent = dc->GetTextExtent(value);
    int x = rect.left + (rect.Width() - extent.cx) / 2;
    int y = rect.top + (rect.Height() - extent.cy) / 2 + 3;
    dc->ExtTextOut(x, y, ETO_CLIPPED, &rect, value);
}

}  // namespace

void CUIWindow::DrawInputDisp(CDC* dc) { DrawValueText(dc, Effect(), kParamInput, m_inputDisp); }
void CUIWindow::DrawOutDisp(CDC* dc) { DrawValueText(dc, Effect(), kParamOutput, m_outputDisp); }
void CUIWindow::DrawDelayTimeDisp(CDC* dc, int i) {
    DrawValueText(dc, Effect(), kParamDelayTime + i, m_delayTimeDisp[i]);
}
void CUIWindow::DrawDelayGainDisp(CDC* dc, int i) {
    DrawValueText(dc, Effect(), kParamDelayGain + i, m_delayGainDisp[i]);
}
void CUIWindow::DrawDelayPanDisp(CDC* dc, int i) {
    DrawValueText(dc, Effect(), kParamDelayPan + i, m_delayPanDisp[i]);
}
void CUIWindow::DrawEQTypeDisp(CDC* dc, int i) {
    DrawValueText(dc, Effect(), kParamFilterType + i, m_eqTypeDisp[i]);
}
void CUIWindow::DrawEQCutoffDisp(CDC* dc, int i) {
    DrawValueText(dc, Effect(), kParamFilterCutoff + i, m_eqCutoffDisp[i]);
}
void CUIWindow::DrawEQQDisp(CDC* dc, int i) { DrawValueText(dc, Effect(), kParamFilterQ + i, m_eqQDisp[i]); }
void CUIWindow::DrawEQGainDisp(CDC* dc, int i) {
    DrawValueText(dc, Effect(), kParamFilterGain + i, m_eqGainDisp[i]);
}
void CUIWindow::DrawFeedbackDisp(CDC* dc) { DrawValueText(dc, Effect(), kParamFeedBack, m_feedbackDisp); }
void CUIWindow::DrawMixDisp(CDC* dc) { DrawValueText(dc, Effect(), kParamBalance, m_balanceDisp); }
void CUIWindow::DrawTempoSyncNoteDisp(CDC* dc) {
    DrawValueText(dc, Effect(), kParamSyncNote, m_syncNoteDisp);
}

// Each meter: the unlit left half of the picture, with the lit right half
// copied over it from the reading's row down to the bottom.
void CUIWindow::DrawVU(CDC* dc) {
    const int halfWidth = static_cast<int>(m_bmpMeter.Width()) / 2;
    const int height = static_cast<int>(m_bmpMeter.Height());
    CDC pictureDC, scratchDC;
    pictureDC.CreateCompatibleDC(dc);
    scratchDC.CreateCompatibleDC(dc);
    CBitmap* oldPicture = pictureDC.SelectObject(&m_bmpMeter);
    scratchDC.CreateBitmapDC(halfWidth, height);
    for (int meter = 0; meter < 4; meter++) {
        float reading = m_meterDb[meter];
        if (reading < -38.0f) reading = -38.0f;
        if (reading > 6.0f) reading = 6.0f;
        const int litFrom = static_cast<int>(reading * -3.0f + 19.0f);
        scratchDC.BitBlt(0, 0, halfWidth, height, &pictureDC, 0, 0, SRCCOPY);
        scratchDC.BitBlt(0, litFrom, halfWidth, height - litFrom, &pictureDC, halfWidth, litFrom, SRCCOPY);
        dc->BitBlt(kMeterLeft[meter], kMeterTop, halfWidth, height, &scratchDC, 0, 0, SRCCOPY);
    }
    pictureDC.SelectObject(oldPicture);
}

void CUIWindow::OnPaint() {
    m_painted = true;
    CPaintDC dc(this);
    CRect client;
    GetClientRect(&client);

    // The composition picture is kept between paints: at 2x it is 4.6 MB,
    // too much to allocate and clear on every paint.
    CDC memDC, backgroundDC;
    memDC.CreateCompatibleDC(&dc);
    if (m_composed.Width() != client.Width() || m_composed.Height() != client.Height() ||
        m_composed.GetScale() != dc.GetScale())
        m_composed.CreateBitmap(client.Width(), client.Height(), dc.GetScale());
    memDC.SelectObject(&m_composed);
    backgroundDC.CreateCompatibleDC(&dc);
    CBitmap* oldBackground = backgroundDC.SelectObject(m_background);
    memDC.BitBlt(0, 0, client.Width(), client.Height(), &backgroundDC, 0, 0, SRCCOPY);

    memDC.SetBkMode(TRANSPARENT);
    memDC.SetTextColor(RGB(0, 0, 0));
    CFont* oldFont = memDC.SelectObject(&m_valueFont);
    DrawInputDisp(&memDC);
    DrawOutDisp(&memDC);
    for (int i = 0; i < kNumTaps; i++) {
        DrawDelayTimeDisp(&memDC, i);
        DrawDelayGainDisp(&memDC, i);
        DrawDelayPanDisp(&memDC, i);
        DrawEQTypeDisp(&memDC, i);
        DrawEQCutoffDisp(&memDC, i);
        DrawEQQDisp(&memDC, i);
        DrawEQGainDisp(&memDC, i);
    }
    DrawFeedbackDisp(&memDC);
    DrawMixDisp(&memDC);
    DrawTempoSyncNoteDisp(&memDC);

    DrawVU(&memDC);

    // The save picture, and the modified indicator: its upper half while the
    // program is as saved, its lower half once it differs.
    CDC pictureDC;
    pictureDC.CreateCompatibleDC(&dc);
    CBitmap* oldPicture = pictureDC.SelectObject(&m_bmpSave);
    memDC.BitBlt(270, 10, 43, 16, &pictureDC, 0, 0, SRCCOPY);
    pictureDC.SelectObject(&m_bmpModified);
    const int half = static_cast<int>(m_bmpModified.Height()) / 2;
    memDC.BitBlt(216, 10, 43, 16, &pictureDC, 0, Effect()->IsProgramChanged() ? half : 0, SRCCOPY);
    pictureDC.SelectObject(oldPicture);

    dc.BitBlt(0, 0, client.Width(), client.Height(), &memDC, 0, 0, SRCCOPY);

    m_inputSlider.DrawSlider(&dc);
    m_outputSlider.DrawSlider(&dc);
    for (int i = 0; i < kNumTaps; i++) {
        m_delayTimeSlider[i].DrawSlider(&dc);
        m_gainKnob[i].Draw(&dc);
        m_panKnob[i].Draw(&dc);
        m_cutoffKnob[i].Draw(&dc);
        m_qKnob[i].Draw(&dc);
        m_eqGainKnob[i].Draw(&dc);
        m_delaySwitch[i].DrawSwitch(&dc);
        m_eqSwitch[i].DrawSwitch(&dc);
    }
    m_feedbackSwitch.DrawSwitch(&dc);
    m_feedbackSlider.DrawSlider(&dc);
    m_balanceSlider.DrawSlider(&dc);
    m_powerSwitch.DrawSwitch(&dc);
    m_tempoSyncSwitch.DrawSwitch(&dc);
    m_copyButton.DrawSwitch(&dc);

    memDC.SelectObject(oldFont);
    backgroundDC.SelectObject(oldBackground);
}

void CUIWindow::OnSize(UINT type, int cx, int cy) {
    CWnd::OnSize(type, cx, cy);
    Invalidate(TRUE);
}

void CUIWindow::OnDestroy() { CWnd::OnDestroy(); }
