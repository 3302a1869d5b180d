#include "typing_guard.h"

void FocusWitness::is_long_ago() {
    m_window_went = false;
    m_answered_with_key = false;
}

FocusSource FocusWitness::find_source(bool sees_all_windows) const {
    if (m_answered_with_key) {
        return FocusSource::NEXT_BOX;
    }
    return m_window_went || !sees_all_windows ? FocusSource::DESKTOP : FocusSource::PERSON;
}

void TypingGuard::focus_came(FocusSource source) {
    m_has_focus = true;
    m_focus_is_new = true;
    if (m_was_asked_for) {
        return;
    }
    if (source == FocusSource::NEXT_BOX) {
        m_state = State::PUSHED;
        m_follows_answer = true;
    } else if (source == FocusSource::DESKTOP || m_is_new) {
        m_state = State::PUSHED;
        m_follows_answer = false;
    } else if (m_state == State::PAUSED) {
        m_state = State::TRUSTED;
    }
    // Where keys did not count before they do not yet: the focus also goes and comes while the
    // window manager looks whether a key is for itself.
}

void TypingGuard::focus_went() {
    m_has_focus = false;
    m_focus_is_new = false;
    m_was_asked_for = false;
}

void TypingGuard::window_went() {
    if (m_focus_is_new && m_state != State::PUSHED && !m_was_asked_for) {
        m_state = State::PUSHED;
        m_follows_answer = false;
    }
}

void TypingGuard::was_asked_for() {
    m_was_asked_for = true;
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

unsigned TypingGuard::get_pause_milliseconds() const {
    return m_follows_answer ? BLINK_MILLISECONDS : PAUSE_MILLISECONDS;
}
