#include "typing_guard.h"

void TypingGuard::box_is_old() {
    if (m_state == State::NEW) {
        m_state = State::TRUSTED;
    }
}

void TypingGuard::focus_came() {
    m_has_focus = true;
    if (m_state == State::NEW) {
        m_state = State::PUSHED;
    }
}

void TypingGuard::focus_went() {
    // A box that was pushed stays so: when the next one over it goes, the focus may fall back to
    // it.
    m_has_focus = false;
}

void TypingGuard::was_asked_for() {
    m_state = State::TRUSTED;
}

void TypingGuard::typing_paused() {
    if (waits_for_pause()) {
        m_state = State::PAUSED;
    }
}

void TypingGuard::key_was_late() {
    if (m_state == State::PAUSED) {
        m_state = State::PUSHED;
    }
}
