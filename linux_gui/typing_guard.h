// Tells a key that is meant for a box from one that was on its way elsewhere when the box got the
// keyboard.
#pragma once

// A box asks for no keyboard focus, but some desktops hand it over all the same: when the box comes
// up, or when another window goes and the focus has to fall somewhere. Who is typing at that moment
// would press its buttons. So where nobody turned to the box, keys are no answers until the typing
// has paused.
//
// Neither class knows a clock: their owner says when a time is over, behind all the events that had
// come by then, so that a program that was held up does not take old keys for new ones. For one
// thread.

// Who moved the focus to a box.
enum class FocusSource {
    PERSON,   // nothing else could have
    NEXT_BOX, // the box before it was answered with the keyboard
    DESKTOP,  // it had to fall somewhere, or may have had to
};

// One for all boxes: what has gone lately.
class FocusWitness {
public:
    // A window of any program went, a box among them, or all of a workspace did: the focus that
    // comes now may have fallen.
    void window_went() { m_window_went = true; }

    // A key has answered a box, which goes.
    void answered_with_key() { m_answered_with_key = true; }

    // PAUSE_MILLISECONDS have passed since the last of these.
    void is_long_ago();

    // Who moves the focus that a box gets now. Not every desktop shows a program the windows of
    // the others (sees_all_windows): where it does not, any of them may have gone.
    FocusSource find_source(bool sees_all_windows) const;

private:
    bool m_window_went = false;
    bool m_answered_with_key = false;
};

// One for each box.
class TypingGuard {
public:
    // The box has been on the screen for BLINK_MILLISECONDS: who turns to it now has seen it.
    void box_is_old() { m_is_new = false; }

    // The box got the keyboard focus, or lost it.
    void focus_came(FocusSource source);
    void focus_went();

    // The box has had the focus for BLINK_MILLISECONDS.
    void focus_is_old() { m_focus_is_new = false; }

    // Another window went. Some window managers tell so only after they have moved the focus.
    void window_went();

    // Somebody turned to the box on purpose: a press of the mouse in it, or a request to the window
    // manager to activate it. Until it loses the focus all keys count.
    void was_asked_for();

    // No key has come for get_pause_milliseconds() since the focus came. Counts only while the box
    // has the focus.
    void typing_paused();

    // A key that comes now was pressed less than get_pause_milliseconds() after the last one: it
    // only came late, and there was no pause.
    void key_was_late();

    // Whether a key that comes now is meant for the box. While it is not, the pause has to begin
    // anew with every key.
    bool keys_count() const { return m_state != State::PUSHED; }

    // Whether typing_paused is waited for: the box has the focus and its keys do not count.
    bool waits_for_pause() const { return m_state == State::PUSHED && m_has_focus; }

    unsigned get_pause_milliseconds() const;

private:
    enum class State {
        TRUSTED,
        PUSHED, // got the focus without anybody's having turned to it since
        PAUSED, // after PUSHED, there was a pause
    };

    State m_state = State::TRUSTED;
    bool m_is_new = true;
    bool m_was_asked_for = false;
    bool m_follows_answer = false; // for PUSHED and PAUSED: the source was NEXT_BOX
    bool m_has_focus = false;
    bool m_focus_is_new = false;
};

// Nobody sees a box, decides to turn to it, and does so in less. Who has just answered a box with
// the keyboard looks at the place where the next one stands, and types nothing elsewhere: the same
// time is the pause then.
constexpr unsigned BLINK_MILLISECONDS = 300;

// Nobody who types a text stops for so long without looking up.
constexpr unsigned PAUSE_MILLISECONDS = 1000;
