#include "toolkit/CStatic.h"

#include "toolkit/CDC.h"
#include "toolkit/ControlPaint.h"
#include "toolkit/Gdi.h"

IMPLEMENT_DYNCREATE(CStatic, CWnd)

BEGIN_MESSAGE_MAP(CStatic, CWnd)
END_MESSAGE_MAP()

namespace {

int NextCharacter(const std::string& text, size_t pos) {
    pos++;
    while (pos < text.size() && (static_cast<unsigned char>(text[pos]) & 0xC0) == 0x80) pos++;
    return static_cast<int>(pos);
}

// Breaks one paragraph (no '\n') into lines of at most width pixels.
void WrapParagraph(const std::string& paragraph, int width, const TextMeasure& measure,
                   std::vector<std::string>& lines) {
    std::string line;
    size_t pos = 0;
    while (pos < paragraph.size()) {
        size_t wordEnd = paragraph.find(' ', pos);
        if (wordEnd == std::string::npos) wordEnd = paragraph.size();
        const std::string word = paragraph.substr(pos, wordEnd - pos);
        const std::string joined = line.empty() ? word : line + " " + word;
        if (measure.Width(joined.c_str()) <= width || (line.empty() && word.empty())) {
            line = joined;
        } else if (!line.empty() && measure.Width(word.c_str()) <= width) {
            lines.push_back(line);
            line = word;
        } else {
            // Too wide for a line of its own: fill lines character by character.
            if (!line.empty()) {
                lines.push_back(line);
                line.clear();
            }
            size_t start = 0;
            while (start < word.size()) {
                size_t end = NextCharacter(word, start);
                while (end < word.size() &&
                       measure.Width(word.c_str() + start,
                                     NextCharacter(word, end) - static_cast<int>(start)) <= width)
                    end = NextCharacter(word, end);
                if (end >= word.size()) {
                    line = word.substr(start);
                    break;
                }
                lines.push_back(word.substr(start, end - start));
                start = end;
            }
        }
        pos = wordEnd + 1;
    }
    lines.push_back(line);
}

}  // namespace

BOOL CStatic::Create(LPCTSTR text, DWORD style, const RECT& rect, CWnd* parent, UINT id) {
    LPCTSTR cls = AfxRegisterWndClass(0, LoadCursor(nullptr, IDC_ARROW),
                                      static_cast<HBRUSH>(GetStockObject(NULL_BRUSH)));
    return CWnd::Create(cls, text ? text : "", style, rect, parent, id);
}

std::vector<std::string> CStatic::WrapLines(const char* text, int width, CFont* font) {
    const TextMeasure measure(font);
    std::vector<std::string> lines;
    const std::string all = text ? text : "";
    size_t start = 0;
    while (true) {
        const size_t end = all.find('\n', start);
        WrapParagraph(all.substr(start, end == std::string::npos ? std::string::npos : end - start),
                      width, measure, lines);
        if (end == std::string::npos) break;
        start = end + 1;
    }
    return lines;
}

LRESULT CStatic::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_PAINT: {
        CPaintDC dc(this);
        CRect client;
        GetClientRect(&client);
        CFont* font = AfxControlFontOf(this);
        CString text;
        GetWindowText(text);
        const std::vector<std::string> lines = WrapLines(text, client.Width(), font);
        const TextMeasure measure(font);
        // Each line centred in a pitch of the font's line height.
        const int pitch = font->GetLineHeight();
        const int total = pitch * static_cast<int>(lines.size());
        int top = total < client.Height() ? (client.Height() - total) / 2 : 0;
        CFont* old = dc.SelectObject(font);
        dc.SetBkMode(TRANSPARENT);
        dc.SetTextColor(IsWindowEnabled() ? theme::Text : theme::TextDisabled);
        for (const std::string& line : lines) {
            const int width = measure.Width(line.c_str());
            int x = 0;
            if (GetStyle() & SS_RIGHT) x = client.Width() - width;
            else if (GetStyle() & SS_CENTER) x = (client.Width() - width) / 2;
            dc.ExtTextOut(x, CentreTextLine(font, top, top + pitch).y, ETO_CLIPPED, &client,
                          line.c_str(), static_cast<int>(line.size()));
            top += pitch;
        }
        dc.SelectObject(old);
        return 0;
    }
    case WM_ERASEBKGND:
        return TRUE;  // the parent's background shows through
    default:
        break;
    }
    return CWnd::DefWindowProc(message, wParam, lParam);
}
