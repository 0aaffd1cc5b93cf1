// The dialog templates of the resource folder, "<id>.dlg" (format in
// CDialog.h), read into memory.
#pragma once

#include <string>
#include <vector>

#include "toolkit/Geometry.h"

enum class DialogControlKind { Static, Edit, Combo, Button, DefButton };

struct DialogControlTemplate {
    DialogControlKind kind = DialogControlKind::Static;
    int id = 0;
    CRect rect;  // in the dialog's client area
    std::string caption;
};

struct DialogTemplate {
    int width = 0;
    int height = 0;
    std::string title;
    std::vector<DialogControlTemplate> controls;

    const DialogControlTemplate* Find(int id) const;
};

// Reads the template text. Blank lines and lines starting with '#' are
// skipped; a line that is not a well-formed control is ignored. False when
// the "dialog" line is missing or malformed. Sizes are kept within 1..4096
// and coordinates within -4096..4096.
bool ParseDialogTemplate(const std::string& text, DialogTemplate& out);

// Reads "<id>.dlg" from the resource folder; false when missing or malformed.
bool LoadDialogTemplate(unsigned id, DialogTemplate& out);
