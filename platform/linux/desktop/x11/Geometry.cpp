#include "desktop/x11/Geometry.h"

#include "desktop/x11/StackingOrder.h"

namespace kivo::desktop::x11 {
namespace {

/// How far a frame reaches beyond a window, or a window beyond what is seen of it.
struct Extents {
    double left, right, top, bottom;
};

PropertyRequest AskExtents(Question& question, xcb_window_t window, xcb_atom_t property) {
    return AskProperty(question, window, property, XCB_ATOM_CARDINAL);
}

std::optional<Extents> ExtentsOf(const PropertyReply& reply) {
    const auto values = ValuesOf(reply);
    if (values.size() < 4) return std::nullopt;
    return Extents{double(values[0]), double(values[1]), double(values[2]), double(values[3])};
}

Rect Grown(const Rect& rect, const Extents& by) {
    return {rect.x - by.left, rect.y - by.top, rect.width + by.left + by.right,
            rect.height + by.top + by.bottom};
}

/// The rectangle without its shadow. A shadow that leaves nothing over is not believed.
Rect WithoutShadow(const Rect& rect, const Extents& by) {
    if (by.left + by.right >= rect.width || by.top + by.bottom >= rect.height) return rect;
    return Grown(rect, {-by.left, -by.right, -by.top, -by.bottom});
}

/// The frame of a window whose manager does not say how far it reaches: what it put the window
/// into, borders included. Elsewhere that would be wrong, for a frame window may have invisible
/// parts.
std::optional<Rect> FrameAround(Question& question, xcb_window_t window) {
    const xcb_window_t top = TopAncestors(question, {&window, 1}).front();
    if (top == XCB_WINDOW_NONE) return std::nullopt;
    const auto geometry = Pending(question, xcb_get_geometry(question.Get(), top)).Take();
    if (geometry == nullptr) return std::nullopt;
    const double borders = 2.0 * geometry->border_width;
    return Rect{double(geometry->x), double(geometry->y), geometry->width + borders,
                geometry->height + borders};
}

}  // namespace

PrimaryMonitor::PrimaryMonitor(Question& question) {
    const xcb_window_t root = question.Facts().root;
    if (question.Facts().tellsMonitors) {
        mMonitors.emplace(question, xcb_randr_get_monitors(question.Get(), root, true));
    } else {
        mRoot.emplace(question, xcb_get_geometry(question.Get(), root));
    }
}

std::optional<Rect> PrimaryMonitor::Take() {
    if (mRoot) {
        const auto root = mRoot->Take();
        if (root == nullptr) return std::nullopt;
        return Rect{0, 0, double(root->width), double(root->height)};
    }
    const auto reply = mMonitors->Take();
    if (reply == nullptr) return std::nullopt;
    std::optional<Rect> chosen;
    auto monitors = xcb_randr_get_monitors_monitors_iterator(reply.get());
    for (; monitors.rem > 0; xcb_randr_monitor_info_next(&monitors)) {
        const xcb_randr_monitor_info_t& one = *monitors.data;
        if (chosen && !one.primary) continue;
        chosen = Rect{double(one.x), double(one.y), double(one.width), double(one.height)};
        if (one.primary) break;
    }
    return chosen;
}

Status ReadFrame(Question& question, xcb_window_t window, Rect& frame) {
    PrimaryMonitor primary(question);
    Pending place(question,
                  xcb_translate_coordinates(question.Get(), window, question.Facts().root, 0, 0));
    Pending geometry(question, xcb_get_geometry(question.Get(), window));
    auto decoration = AskExtents(question, window, question.Names().frameExtents);
    auto shadow = AskExtents(question, window, question.Names().gtkFrameExtents);

    const Rect screen = primary.Take().value_or(Rect{});
    const auto origin = place.Take();
    const auto size = geometry.Take();
    const auto decorationExtents = ExtentsOf(decoration.Take());
    const auto shadowExtents = ExtentsOf(shadow.Take());
    if (!question.IsAnswered()) return Status::kNoAnswer;
    if (origin == nullptr || size == nullptr) return Status::kWindowGone;

    const Rect inside{double(origin->dst_x), double(origin->dst_y), double(size->width),
                      double(size->height)};
    if (decorationExtents) {
        frame = Grown(inside, *decorationExtents);
    } else if (shadowExtents) {
        frame = inside;  // a window that draws its own frame has no other
    } else {
        frame = FrameAround(question, window).value_or(inside);
    }
    if (shadowExtents) frame = WithoutShadow(frame, *shadowExtents);
    frame.x -= screen.x;
    frame.y -= screen.y;
    return question.IsAnswered() ? Status::kOk : Status::kNoAnswer;
}

std::optional<Point> ReadPointer(Question& question) {
    PrimaryMonitor primary(question);
    Pending pointer(question, xcb_query_pointer(question.Get(), question.Facts().root));
    const Rect screen = primary.Take().value_or(Rect{});
    const auto reply = pointer.Take();
    if (reply == nullptr || !question.IsAnswered()) return std::nullopt;
    return Point{reply->root_x - screen.x, reply->root_y - screen.y};
}

}  // namespace kivo::desktop::x11
