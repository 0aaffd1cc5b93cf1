// The reverse path: parameter changes from the host, programs and tempo
// following move the controls; the host's idle calls animate the meters.
// Everything here runs on the UI thread (the editor hands over changes that
// other threads recorded).
#include <cmath>

#include "editor/CDelayEditor.h"
#include "editor/CUIWindow.h"
#include "effect/ATapDelay.h"

// Every switch, tempo sync included, shows the integer part of its value:
// NormalizeValToDWValue answers 0 for everything and would leave tempo sync
// showing "off" after each program load or host change.
void CUIWindow::SetSwitchFromValue(CVMQBitmapSwitch2DC& sw, float value, CDC* dc) {
    int state = static_cast<int>(value);
    if (sw.GetValue() != (state != 0 ? 1 : 0)) sw.SetValue(state, false);
    sw.DrawSwitch(dc);
}

void CUIWindow::UpdateControl(int parameter, float value) {
    // Controls took their values at creation; until the first paint there
    // is nothing on screen to bring up to date.
    if (!m_painted || !IsValidParam(parameter)) return;
    CClientDC dc(this);
    const int tap = TapOfParam(parameter);
    auto inGroup = [parameter](int first) { return parameter >= first && parameter < first + kNumTaps; };

    if (parameter == kParamInput) {
        m_inputSlider.SetValue(value, &dc, false);
    } else if (parameter == kParamOutput) {
        m_outputSlider.SetValue(value, &dc, false);
    } else if (inGroup(kParamDelayTime)) {
        m_delayTimeSlider[tap].SetValue(value, &dc, false);
    } else if (parameter == kParamFeedBack) {
        m_feedbackSlider.SetValue(value, &dc, false);
    } else if (parameter == kParamBalance) {
        m_balanceSlider.SetValue(value, &dc, false);
    } else if (inGroup(kParamDelayGain)) {
        m_gainKnob[tap].SetValue(value, &dc, false);
    } else if (inGroup(kParamDelayPan)) {
        m_panKnob[tap].SetValue(value, &dc, false);
    } else if (inGroup(kParamFilterCutoff)) {
        m_cutoffKnob[tap].SetValue(value, &dc, false);
    } else if (inGroup(kParamFilterGain)) {
        m_eqGainKnob[tap].SetValue(value, &dc, false);
    } else if (inGroup(kParamFilterQ)) {
        m_qKnob[tap].SetValue(value, &dc, false);
    } else if (parameter == kParamOnOff) {
        SetSwitchFromValue(m_powerSwitch, value, &dc);
    } else if (inGroup(kParamDelayOnOff)) {
        SetSwitchFromValue(m_delaySwitch[tap], value, &dc);
    } else if (inGroup(kParamFilterOnOff)) {
        SetSwitchFromValue(m_eqSwitch[tap], value, &dc);
    } else if (parameter == kParamFeedBackOnOff) {
        SetSwitchFromValue(m_feedbackSwitch, value, &dc);
    } else if (parameter == kParamTempoSync) {
        SetSwitchFromValue(m_tempoSyncSwitch, value, &dc);
    } else if (inGroup(kParamFilterType)) {
        InvalidateRect(&m_eqTypeDisp[tap], TRUE);
    } else if (parameter == kParamSyncNote) {
        Invalidate(TRUE);
    }
    InvalidateRect(&m_modifiedRect, TRUE);
}

void CUIWindow::UpdateModify() { InvalidateRect(&m_modifiedRect, TRUE); }

// Meter ballistics, once per host idle: fresh peaks when the effect has
// processed a block since the last look, otherwise a fall of 0.25 dB.
void CUIWindow::idle() {
    ATapDelay* effect = Effect();
    const uint16_t counter = effect->GetProcessCounter();
    float previous[4];
    for (int m = 0; m < 4; m++) previous[m] = m_meterDb[m];

    if (counter != m_meterCounter) {
        m_meterCounter = counter;
        float levels[4];
        effect->GetVU(&levels[0], &levels[1], &levels[2], &levels[3]);
        for (int m = 0; m < 4; m++) {
            float dB = 6.0f * std::log2(levels[m]);
            if (!(dB >= -38.0f)) dB = -38.0f;  // silence (log of 0) and NaN too
            if (dB > 6.0f) dB = 6.0f;
            m_meterDb[m] = dB;
        }
    } else {
        for (float& reading : m_meterDb) {
            reading -= 0.25f;
            if (reading < -38.0f) reading = -38.0f;
        }
    }

    bool changed = false;
    for (int m = 0; m < 4; m++) changed = changed || m_meterDb[m] != previous[m];
    if (changed) {
        CClientDC dc(this);
        DrawVU(&dc);
    }
}
