// Which presses with the mouse, or a touch, are answers of a person who could have aimed at the
// box.
//
// A box comes up under a pointer that is about to click in another window, and another box comes to
// light under one that was just answered. Plain rules, without GTK; for the GTK main thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

// Where the pointer was at a moment. Positions on the screen in GTK's units (on a desktop that
// tells no program where its windows are, within the box), time of any one steady clock.
struct PointerMoment {
    std::int64_t milliseconds = 0;
    double x = 0;
    double y = 0;
};

// What the desktop's settings say of hands: gtk-double-click-time, gtk-double-click-distance and
// gtk-dnd-drag-threshold.
struct PressLimits {
    std::int64_t double_click_milliseconds = 400;
    int double_click_distance = 5;
    int drag_threshold = 8;
};

class PressGuard {
public:
    // A press at this place answered a box. The answers given with keys are not told.
    void answered(const PointerMoment& press);

    // Why this press in a box does not count; the empty text when it does. It does not count within
    // the double-click time after the box came to the screen under the pointer (shown, where it is
    // known), unless the pointer has moved since by more than a trembling hand; nor within that
    // time after an answer at the same place. After that every press counts.
    std::string find_objection(const std::optional<PointerMoment>& shown,
                               const PointerMoment& press, const PressLimits& limits) const;

private:
    std::optional<PointerMoment> m_last_answer;
};
