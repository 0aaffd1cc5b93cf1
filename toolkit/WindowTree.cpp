// Roots and their lightweight windows: offsets, hit-testing, invalid
// regions, painting into the back buffer, and the frames' foreign roots.
#include "toolkit/WindowTree.h"

#include <cairo.h>

#include <algorithm>

#include "toolkit/CDC.h"
#include "toolkit/DeviceScale.h"
#include "toolkit/UIConnection.h"

namespace rect {

CRect Intersect(const CRect& a, const CRect& b) {
    CRect r(std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom));
    return r.IsRectEmpty() ? CRect() : r;
}

CRect Union(const CRect& a, const CRect& b) {
    if (a.IsRectEmpty()) return b.IsRectEmpty() ? CRect() : b;
    if (b.IsRectEmpty()) return a;
    return CRect(std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
                 std::max(a.bottom, b.bottom));
}

CRect Offset(CRect r, CPoint by) {
    r.OffsetRect(by.x, by.y);
    return r;
}

}  // namespace rect

namespace {

std::vector<CWnd*> windowlessRoots;
int paintDepth = 0;

// The root's client area (logical) when it has a buffer to draw into.
CRect BufferBounds(const CWnd* root) {
    const RootData* data = WindowTree::Root(root);
    if (!data || !data->buffer) return CRect();
    RECT client;
    root->GetClientRect(&client);
    return CRect(client);
}

}  // namespace

double WindowTree::Scale(const CWnd* root) {
    const RootData* data = Root(root);
    return data && data->connection ? data->connection->Scale() : 1.0;
}

CWnd* WindowTree::RootOf(const CWnd* window) {
    for (const CWnd* w = window; w; w = w->m_parent) {
        if (w->m_root) return const_cast<CWnd*>(w);
    }
    return nullptr;
}

CPoint WindowTree::OffsetInRoot(const CWnd* window) {
    CPoint offset(0, 0);
    for (const CWnd* w = window; w && !w->m_root; w = w->m_parent) {
        offset.x += w->m_rect.left;
        offset.y += w->m_rect.top;
    }
    return offset;
}

CRect WindowTree::VisibleRectInRoot(const CWnd* window) {
    const CWnd* root = RootOf(window);
    if (!root) return CRect();
    CRect area = BufferBounds(root);
    for (const CWnd* w = window; w && w != root; w = w->m_parent) {
        CPoint offset = OffsetInRoot(w);
        area = rect::Intersect(area, CRect(offset, w->m_rect.Size()));
    }
    return area;
}

bool WindowTree::IsSelfOrAncestor(const CWnd* ancestor, const CWnd* window) {
    for (const CWnd* w = window; w; w = w->m_parent) {
        if (w == ancestor) return true;
        if (w->m_root && w->m_root->kind != RootKind::NativeChild) return false;
    }
    return false;
}

bool WindowTree::IsOwnedBy(const CWnd* root, const CWnd* owner) {
    for (const CWnd* w = root; w; w = RootOf(w->m_parent)) {
        if (w == owner) return true;
    }
    return false;
}

NativeWindow WindowTree::LiveNative(const CWnd* window) {
    const RootData* root = Root(RootOf(window));
    if (!root || !root->native || root->nativeDead || !root->connection || !root->connection->IsOpen())
        return 0;
    return root->native;
}

CWnd* WindowTree::HitTest(CWnd* root, CPoint& point) {
    CWnd* window = root;
    for (bool descended = true; descended;) {
        descended = false;
        const std::vector<CWnd*>& children = window->m_children;
        for (auto it = children.rbegin(); it != children.rend(); ++it) {
            CWnd* child = *it;
            if (child->m_root || !child->m_visible || !child->m_enabled) continue;
            if (!child->m_rect.PtInRect(point)) continue;
            point.x -= child->m_rect.left;
            point.y -= child->m_rect.top;
            window = child;
            descended = true;
            break;
        }
    }
    return window;
}

void WindowTree::InvalidateRoot(CWnd* root, const CRect& area, bool erase) {
    RootData* data = Root(root);
    if (!data || !data->buffer) return;
    CRect clipped = rect::Intersect(area, BufferBounds(root));
    if (clipped.IsRectEmpty()) return;
    data->invalid = rect::Union(data->invalid, clipped);
    data->erase = data->erase || erase;
}

bool WindowTree::Painting() { return paintDepth > 0; }

void WindowTree::PaintRoot(CWnd* root) {
    RootData* data = Root(root);
    if (!data || !data->buffer || data->invalid.IsRectEmpty() || !root->m_visible) return;
    const CRect area = data->invalid;
    const bool erase = data->erase;
    data->invalid = CRect();
    data->erase = false;
    const HWND self = root->m_hWnd;
    ++paintDepth;
    PaintWindow(root, area, erase, CPoint(0, 0));
    --paintDepth;
    if (CWnd::FromHandle(self) == root && root->m_root)
        root->m_root->damage.Add(device::ToDevice(area, Scale(root)));
}

void WindowTree::PaintWindow(CWnd* window, const CRect& area, bool erase, CPoint offset) {
    const CRect mine = rect::Intersect(area, CRect(offset, window->m_rect.Size()));
    if (mine.IsRectEmpty()) return;
    const HWND self = window->m_hWnd;
    window->m_updateRect = rect::Offset(mine, CPoint(-offset.x, -offset.y));
    if (erase) {
        CPaintDC dc(window);
        window->SendMessage(WM_ERASEBKGND, reinterpret_cast<WPARAM>(static_cast<CDC*>(&dc)), 0);
    }
    if (CWnd::FromHandle(self) != window) return;
    window->SendMessage(WM_PAINT);
    if (CWnd::FromHandle(self) != window) return;
    window->m_updateRect = CRect();
    std::vector<HWND> children;
    for (CWnd* child : window->m_children) children.push_back(child->m_hWnd);
    for (HWND handle : children) {
        CWnd* child = CWnd::FromHandle(handle);
        if (!child || child->m_root || !child->m_visible || child->m_parent != window) continue;
        PaintWindow(child, mine, erase, CPoint(offset.x + child->m_rect.left, offset.y + child->m_rect.top));
    }
}

void WindowTree::WindowDrawn(HWND handle, const DamageRegion& area) {
    CWnd* window = CWnd::FromHandle(handle);
    CWnd* root = RootOf(window);
    RootData* data = Root(root);
    if (!data || area.IsEmpty()) return;
    data->damage.Add(area);
    if (!Painting() && data->connection) data->connection->PresentRoot(root);
}

const std::vector<CWnd*>& WindowTree::WindowlessRoots() { return windowlessRoots; }

void WindowTree::AddWindowless(CWnd* root) { windowlessRoots.push_back(root); }

void WindowTree::RemoveWindowless(CWnd* root) {
    windowlessRoots.erase(std::remove(windowlessRoots.begin(), windowlessRoots.end(), root),
                          windowlessRoots.end());
}

void WindowTree::MarkNativeDead(CWnd* root) {
    RootData* data = Root(root);
    if (!data) return;
    data->nativeDead = true;
    data->keyboardTaken = false;
    // Native children die with their parent.
    if (data->kind == RootKind::Foreign) {
        for (CWnd* child : root->m_children)
            if (child->m_root) MarkNativeDead(child);
    }
}

void WindowTree::ResizeBuffer(CWnd* root) {
    RootData* data = Root(root);
    if (!data || data->kind == RootKind::Foreign) return;
    const double scale = Scale(root);
    const int width = std::max(1, std::min(device::ToDevice(root->m_rect.Width(), scale), 16384));
    const int height = std::max(1, std::min(device::ToDevice(root->m_rect.Height(), scale), 16384));
    cairo_surface_t* old = data->buffer;
    if (old && cairo_image_surface_get_width(old) == width &&
        cairo_image_surface_get_height(old) == height)
        return;
    cairo_surface_t* buffer = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    if (old) {
        cairo_t* cr = cairo_create(buffer);
        cairo_set_source_surface(cr, old, 0, 0);
        cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
        cairo_paint(cr);
        cairo_destroy(cr);
        cairo_surface_destroy(old);
    }
    data->buffer = buffer;
    data->invalid = CRect();
    InvalidateRoot(root, CRect(0, 0, root->m_rect.Width(), root->m_rect.Height()), true);
}

void WindowTree::MakeForeignRoot(CWnd* frame, std::shared_ptr<UIConnection> connection,
                                 NativeWindow host) {
    auto* data = new RootData;
    data->kind = RootKind::Foreign;
    data->connection = connection.get();
    data->ownedConnection = std::move(connection);
    data->native = host;
    frame->m_root = data;
    frame->m_hWnd = Register(frame);
    frame->m_visible = TRUE;
    frame->m_enabled = TRUE;
    data->connection->AddRoot(frame);
}

void WindowTree::ReleaseForeignRoot(CWnd* frame) {
    RootData* data = Root(frame);
    if (!data || data->kind != RootKind::Foreign) return;
    std::shared_ptr<UIConnection> connection = std::move(data->ownedConnection);
    if (data->connection) data->connection->RemoveRoot(frame);
    data->connection = nullptr;
    if (connection) connection->Close();
}
