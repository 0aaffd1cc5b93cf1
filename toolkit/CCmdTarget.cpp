#include "toolkit/CCmdTarget.h"

IMPLEMENT_DYNAMIC(CCmdTarget, CObject)

namespace {

const AFX_MSGMAP_ENTRY noEntries[] = {{0, 0, 0, 0, AfxSig_end, nullptr}};
const AFX_MSGMAP rootMap = {nullptr, &noEntries[0]};

bool Matches(const AFX_MSGMAP_ENTRY& entry, UINT message, WPARAM wParam) {
    if (entry.nMessage != message) return false;
    if (message != WM_COMMAND) return true;
    const UINT code = HIWORD(wParam);
    const UINT id = LOWORD(wParam);
    return entry.nCode == code && id >= entry.nID && id <= entry.nLastID;
}

}  // namespace

const AFX_MSGMAP* CCmdTarget::GetThisMessageMap() { return &rootMap; }

const AFX_MSGMAP* CCmdTarget::GetMessageMap() const { return GetThisMessageMap(); }

const AFX_MSGMAP_ENTRY* CCmdTarget::FindMessageEntry(UINT message, WPARAM wParam) const {
    for (const AFX_MSGMAP* map = GetMessageMap(); map;
         map = map->pfnGetBaseMap ? map->pfnGetBaseMap() : nullptr) {
        for (const AFX_MSGMAP_ENTRY* entry = map->lpEntries; entry && entry->nSig != AfxSig_end;
             ++entry) {
            if (Matches(*entry, message, wParam)) return entry;
        }
    }
    return nullptr;
}
