#include "press_guard.h"

#include <cmath>

namespace {

bool is_soon_after(const PointerMoment& earlier, const PointerMoment& later,
                   const PressLimits& limits) {
    return later.milliseconds - earlier.milliseconds <= limits.double_click_milliseconds;
}

// As GTK measures: each direction by itself.
bool is_within(const PointerMoment& one, const PointerMoment& other, int distance) {
    return std::abs(one.x - other.x) <= distance && std::abs(one.y - other.y) <= distance;
}

} // namespace

void PressGuard::answered(const PointerMoment& press) {
    m_last_answer = press;
}

std::string PressGuard::find_objection(const std::optional<PointerMoment>& shown,
                                       const PointerMoment& press,
                                       const PressLimits& limits) const {
    if (m_last_answer && is_soon_after(*m_last_answer, press, limits) &&
        is_within(*m_last_answer, press, limits.double_click_distance)) {
        return "second half of a double click";
    }
    if (shown && is_soon_after(*shown, press, limits) &&
        is_within(*shown, press, limits.drag_threshold)) {
        return "the box came up under the pointer";
    }
    return "";
}
