// Tells a key that is meant for a box from one that was on its way elsewhere when the box appeared.
#pragma once

// A box asks for no keyboard focus, but some desktops hand it over all the same. Who is typing at
// that moment would press its buttons. So where the focus came with the box, unasked, keys are no
// answers until the typing has paused.
//
// One for each box. Knows no clock: its owner says when a time is over, behind all the events that
// had come by then, so that a program that was held up does not take old keys for new ones. For one
// thread.
class TypingGuard {
public:
    // The box has been on the screen for NEW_BOX_MILLISECONDS: who turns to it now has seen it.
    void box_is_old();

    // The box got the keyboard focus, or lost it.
    void focus_came();
    void focus_went();

    // Somebody turned to the box on purpose: a press of the mouse in it, or a request to the window
    // manager to activate it. From now on all keys count.
    void was_asked_for();

    // No key has come for PAUSE_MILLISECONDS since the focus came. Counts only while the box has
    // the focus.
    void typing_paused();

    // A key that comes now was pressed less than PAUSE_MILLISECONDS after the last one: it only
    // came late, and there was no pause.
    void key_was_late();

    // Whether a key that comes now is meant for the box. While it is not, the pause has to begin
    // anew with every key.
    bool keys_count() const { return m_state != State::PUSHED; }

    // Whether typing_paused is waited for: the box has the focus and its keys do not count.
    bool waits_for_pause() const { return m_state == State::PUSHED && m_has_focus; }

    // Whether it still matters that somebody asks for the box.
    bool waits_for_request() const { return m_state != State::TRUSTED; }

private:
    enum class State {
        NEW,    // just shown, and not focused yet
        PUSHED, // got the focus too early to be meant, and nobody has turned to it since
        PAUSED, // after PUSHED, there was a pause
        TRUSTED,
    };

    State m_state = State::NEW;
    bool m_has_focus = false;
};

// Nobody sees a box, decides to turn to it, and does so in less.
constexpr unsigned NEW_BOX_MILLISECONDS = 300;

// Nobody who types a text stops for so long without looking up.
constexpr unsigned PAUSE_MILLISECONDS = 1000;
