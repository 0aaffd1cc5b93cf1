// The toolkit's message box. The text goes to a replaceable handler, so the
// editor can show a modal alert while tests and windowless hosts record or log it.
#pragma once

// Win32 message-box styles and answers.
constexpr unsigned MB_OK = 0x0000;
constexpr unsigned MB_OKCANCEL = 0x0001;
constexpr unsigned MB_ICONERROR = 0x0010;
constexpr unsigned MB_ICONWARNING = 0x0030;
constexpr unsigned MB_ICONINFORMATION = 0x0040;
constexpr int IDOK = 1;
constexpr int IDCANCEL = 2;

// Shows text (type: MB_* styles) and returns the answer; the help id is
// passed on as the Win32 call has one.
typedef int (*AfxMessageBoxHandler)(const char* text, unsigned type, unsigned helpId);

int AfxMessageBox(const char* text, unsigned type = MB_OK, unsigned helpId = 0);

// Installs the handler that AfxMessageBox calls (null: the default, which
// shows a modal alert window while a display connection is open on the
// calling thread, and otherwise writes the text to stderr and answers IDOK).
// Returns the previous handler.
AfxMessageBoxHandler AfxSetMessageBoxHandler(AfxMessageBoxHandler handler);
