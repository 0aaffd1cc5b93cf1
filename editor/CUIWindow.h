// The editor's one window: the background picture with six tap rows and the
// global controls at fixed places, every parameter's value text, four level
// meters and the save and modified pictures. Layout and painting live in
// UIWindowLayout.cpp and UIWindowPaint.cpp; mouse, menus and typed entry in
// UIWindowInteraction.cpp; host-driven refresh in UIWindowRefresh.cpp.
#pragma once

#include <cstdint>

#include "editor/CVMQBitmap.h"
#include "editor/CVMQBitmapSliderDC.h"
#include "editor/CVMQBitmapSwitch2DC.h"
#include "editor/CVMQFloatEditWnd.h"
#include "editor/CVMQNewBitmapTumamiDC.h"
#include "effect/ParamTable.h"
#include "toolkit/CDC.h"
#include "toolkit/CWnd.h"
#include "toolkit/Gdi.h"

class ATapDelay;
class CDelayEditor;

class CUIWindow : public CWnd {
public:
    CUIWindow();
    ~CUIWindow() override;

    // Creates the window as a child of parent, sized to the background.
    BOOL MakeWindow(CWnd* parent, CVMQBitmap* background, CDelayEditor* editor);

    // --- layout (tap index i = 0..5) ---
    void GetDelaySWRect(CRect* r, int i) const;
    void GetDelayTimeRect(CRect* r, int i) const;
    void GetDelayTimeDispRect(CRect* r, int i) const;
    void GetDelayGainRect(CRect* r, int i) const;
    void GetDelayGainDispRect(CRect* r, int i) const;
    void GetDelayPanRect(CRect* r, int i) const;
    void GetDelayPanDispRect(CRect* r, int i) const;
    void GetEQSWRect(CRect* r, int i) const;
    void GetEQTypeRect(CRect* r, int i) const;
    void GetEQCutoffRect(CRect* r, int i) const;
    void GetEQCutoffDispRect(CRect* r, int i) const;
    void GetEQQRect(CRect* r, int i) const;
    void GetEQQDispRect(CRect* r, int i) const;
    void GetEQGainRect(CRect* r, int i) const;
    void GetEQGainDispRect(CRect* r, int i) const;

    // --- painting ---
    void DrawInputDisp(CDC* dc);
    void DrawOutDisp(CDC* dc);
    void DrawDelayTimeDisp(CDC* dc, int i);
    void DrawDelayGainDisp(CDC* dc, int i);
    void DrawDelayPanDisp(CDC* dc, int i);
    void DrawEQTypeDisp(CDC* dc, int i);
    void DrawEQCutoffDisp(CDC* dc, int i);
    void DrawEQQDisp(CDC* dc, int i);
    void DrawEQGainDisp(CDC* dc, int i);
    void DrawFeedbackDisp(CDC* dc);
    void DrawMixDisp(CDC* dc);
    void DrawTempoSyncNoteDisp(CDC* dc);
    void DrawVU(CDC* dc);
    void DrawClip(CDC* dc) {}

    // --- refresh and interaction ---
    void ChangeControl(int id, float value);
    void UpdateControl(int parameter, float value);
    void UpdateModify();
    void ShowEdit(int value, int min, int max, bool isSigned, int digits, CRect rect, int target);
    void HideEdit();
    void idle();

    // Draws at scale device pixels per logical one from now on: the
    // connection's windows are resized and the pictures drawn for that scale
    // are loaded in place. The layout stays logical.
    void SetScale(float scale);

    // Keys a host forwards through effEditKeyDown: delivered to the entry
    // field while it is open. False when the editor has no use for the key.
    bool ForwardKey(unsigned keyCode, unsigned character);

    // What tests and the shell look at.
    bool HasPainted() const { return m_painted; }
    int GetEntryTarget() const { return m_entryTarget; }
    float GetMeterReading(int meter) const { return m_meterDb[meter]; }
    CVMQFloatEditWnd& GetEntryWindow() { return m_entry; }

    // Message handlers.
    int OnCreate(LPCREATESTRUCT cs);
    void OnPaint();
    void OnSize(UINT type, int cx, int cy);
    void OnDestroy();
    void OnLButtonDown(UINT flags, CPoint point);
    void OnLButtonDblClk(UINT flags, CPoint point);
    void OnMouseMove(UINT flags, CPoint point);
    void OnLButtonUp(UINT flags, CPoint point);
    LRESULT OnInputValReturn(WPARAM wParam, LPARAM lParam);
    void OnSelSyncNote(UINT id);
    void OnSelCopyPg(UINT id);
    // A right click opens the "Size" menu; choosing an entry resizes.
    void OnRButtonDown(UINT flags, CPoint point);
    void OnSelSize(UINT id);

    DECLARE_MESSAGE_MAP()

private:
    ATapDelay* Effect() const;
    CDelayEditor* m_editor = nullptr;
    CVMQBitmap* m_background = nullptr;
    CWnd* m_parentWnd = nullptr;

    // Pictures, loaded in OnCreate in this order.
    CVMQBitmap m_bmpKnob;          // 3004
    CVMQBitmap m_bmpPowerOff;      // 3002
    CVMQBitmap m_bmpPowerOn;       // 3003
    CVMQBitmap m_bmpLogo;          // 3001 (kept, never drawn)
    CVMQBitmap m_bmpHTrack;        // 3006
    CVMQBitmap m_bmpVTrack;        // 3016
    CVMQBitmap m_bmpVHandle;       // 3007
    CVMQBitmap m_bmpHHandle;       // 3015
    CVMQBitmap m_bmpMeter;         // 3008
    CVMQBitmap m_bmpDelayOff;      // 3010
    CVMQBitmap m_bmpDelayOn;       // 3009
    CVMQBitmap m_bmpEQOff;         // 3018
    CVMQBitmap m_bmpEQOn;          // 3017
    CVMQBitmap m_bmpSmallOff;      // 3020: feedback on/off and tempo sync
    CVMQBitmap m_bmpSmallOn;       // 3019
    CVMQBitmap m_bmpCopyOff;       // 3012
    CVMQBitmap m_bmpCopyOn;        // 3011
    CVMQBitmap m_bmpSave;          // 5016
    CVMQBitmap m_bmpModified;      // 5017

    CBitmap m_composed;  // the off-screen picture OnPaint composes in

    CFont m_valueFont;  // 9 points: every value text
    CFont m_entryFont;  // 12 points: the entry field

    bool m_painted = false;

    // Value-text rectangles.
    CRect m_inputDisp, m_outputDisp, m_feedbackDisp, m_balanceDisp, m_syncNoteDisp;
    CRect m_delayTimeDisp[kNumTaps], m_delayGainDisp[kNumTaps], m_delayPanDisp[kNumTaps];
    CRect m_eqTypeDisp[kNumTaps], m_eqCutoffDisp[kNumTaps], m_eqQDisp[kNumTaps],
        m_eqGainDisp[kNumTaps];
    CRect m_modifiedRect;

    // Controls.
    CVMQBitmapSliderDC m_inputSlider, m_outputSlider, m_feedbackSlider, m_balanceSlider;
    CVMQBitmapSliderDC m_delayTimeSlider[kNumTaps];
    CVMQNewBitmapTumamiDC m_gainKnob[kNumTaps], m_panKnob[kNumTaps], m_cutoffKnob[kNumTaps],
        m_qKnob[kNumTaps], m_eqGainKnob[kNumTaps];
    CVMQBitmapSwitch2DC m_delaySwitch[kNumTaps], m_eqSwitch[kNumTaps];
    CVMQBitmapSwitch2DC m_feedbackSwitch, m_powerSwitch, m_tempoSyncSwitch, m_copyButton;
    CVMQFloatEditWnd m_entry;

    int m_entryTarget = -1;
    float m_meterDb[4] = {-38.0f, -38.0f, -38.0f, -38.0f};
    uint16_t m_meterCounter = 0xFFFF;

    // The parameter whose drag is under way (begin/end edit for the host), -1 none.
    int m_gestureParam = -1;

    // Layout and creation helpers (UIWindowLayout.cpp).
    void LoadBitmaps();
    void SetTextRects();
    void MakeSliders();
    void MakeKnobs();
    void MakeSwitches();
    // Interaction helpers (UIWindowInteraction.cpp).
    bool OpenTypedEntry(CPoint point);
    bool PressGlobalSlider(CPoint point);
    bool ToggleGlobalSwitch(CPoint point);
    bool OpenSyncNoteMenu(CPoint point);
    bool OpenCopyMenu(CPoint point);
    bool PressTapRow(CPoint point, int tap);
    void ToggleSwitch(CVMQBitmapSwitch2DC& sw, int parameter);
    void BeginGesture(int parameter);
    void EndGesture();
    void OpenSaveDialog();
    // Refresh helper (UIWindowRefresh.cpp).
    void SetSwitchFromValue(CVMQBitmapSwitch2DC& sw, float value, CDC* dc);
};

// The parameter written by a control id, or -1 (ids without a parameter).
int ParameterOfControl(int id);
// The parameter typed into by an entry target code, or -1.
int ParameterOfEntryTarget(int target);
