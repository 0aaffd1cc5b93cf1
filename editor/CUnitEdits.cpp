#include "editor/CUnitEdits.h"

IMPLEMENT_DYNCREATE(CFloatEdit, CFormatEdit)
BEGIN_MESSAGE_MAP(CFloatEdit, CFormatEdit)
END_MESSAGE_MAP()

CFloatEdit::CFloatEdit() { SetFormat("%.1fmm", 100.0); }

IMPLEMENT_DYNCREATE(CFloatEdit2, CFormatEdit)
BEGIN_MESSAGE_MAP(CFloatEdit2, CFormatEdit)
END_MESSAGE_MAP()

CFloatEdit2::CFloatEdit2() { SetFormat("%.1f", 1.0); }

IMPLEMENT_DYNCREATE(CPointEdit, CFormatEdit)
BEGIN_MESSAGE_MAP(CPointEdit, CFormatEdit)
END_MESSAGE_MAP()

CPointEdit::CPointEdit() { SetFormat("%.1fpoint", 10.0); }

IMPLEMENT_DYNCREATE(CMiliSecondEdit, CFormatEdit)
BEGIN_MESSAGE_MAP(CMiliSecondEdit, CFormatEdit)
END_MESSAGE_MAP()

CMiliSecondEdit::CMiliSecondEdit() { SetFormat("%.0fms", 1.0); }
