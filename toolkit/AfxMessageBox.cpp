#include "toolkit/AfxMessageBox.h"

#include <atomic>
#include <cstdio>

namespace {

int WriteToStandardError(const char* text, unsigned /*type*/, unsigned /*helpId*/) {
    std::fprintf(stderr, "TapDelay: %s\n", text ? text : "");
    return IDOK;
}

std::atomic<AfxMessageBoxHandler> currentHandler{&WriteToStandardError};

}  // namespace

int AfxMessageBox(const char* text, unsigned type, unsigned helpId) {
    return currentHandler.load()(text ? text : "", type, helpId);
}

AfxMessageBoxHandler AfxSetMessageBoxHandler(AfxMessageBoxHandler handler) {
    return currentHandler.exchange(handler ? handler : &WriteToStandardError);
}
