#include "toolkit/AfxMessageBox.h"

#include <atomic>
#include <cstdio>

// The alert window (toolkit/MessageBoxDialog.cpp): -1 when no display
// connection is open on this thread.
int AfxShowMessageWindow(const char* text, unsigned type);

namespace {

// A window when an editor is open, else a line on stderr.
int ShowOrLog(const char* text, unsigned type, unsigned /*helpId*/) {
    const int answer = AfxShowMessageWindow(text, type);
    if (answer >= 0) return answer;
    std::fprintf(stderr, "TapDelay: %s\n", text ? text : "");
    return IDOK;
}

std::atomic<AfxMessageBoxHandler> currentHandler{&ShowOrLog};

}  // namespace

int AfxMessageBox(const char* text, unsigned type, unsigned helpId) {
    return currentHandler.load()(text ? text : "", type, helpId);
}

AfxMessageBoxHandler AfxSetMessageBoxHandler(AfxMessageBoxHandler handler) {
    return currentHandler.exchange(handler ? handler : &ShowOrLog);
}
