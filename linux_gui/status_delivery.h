// Which status is taken in, and which one the next request to the service quotes as seen.
//
// The service tells an event once: as the one after the event that a request quotes. So what was
// not taken in must not be quoted. Plain rules, without GTK, threads or locks: whoever shares an
// object of this class between threads holds one lock around every call.
#pragma once

#include <memory>
#include <vector>

#include "zor_printer_io.h"

// Whether both records say the same: the action and all six texts.
bool is_same_error(const ZORPrinterError& left, const ZORPrinterError& right);

class StatusDelivery {
public:
    // waiting is where a status waits for the tick; empty when none does. It stays the caller's,
    // must outlive this object, and is read and emptied here, but filled by the caller.
    explicit StatusDelivery(std::shared_ptr<ZORPrinterStatus>& waiting);
    StatusDelivery(const StatusDelivery&) = delete;
    StatusDelivery& operator=(const StatusDelivery&) = delete;

    // Whether the service may be asked now. Not while news of an error waits: a newer status would
    // take its place, and the service would not tell it again.
    bool may_ask() const;

    // A request goes out now. Returns the status that it quotes; null when it quotes nothing.
    std::shared_ptr<const ZORPrinterStatus> asked();

    // Its reply came. False for one that is put aside whole: it shows once more what the person
    // answered while it was under way, and nobody can tell an old reply from a new failure. The
    // next request quotes what this one quoted, so that the service tells it again if it still
    // holds. A status that nobody asked for is never put aside.
    bool received(const ZORPrinterStatus& status);

    // The exchange failed: the next request quotes nothing.
    void exchange_failed();

    // The tick comes for what waits: returns it, or null, and empties the place.
    std::shared_ptr<ZORPrinterStatus> taken();

    // The person answered the box of this error. What waits and shows exactly that error once more
    // is dropped: the box was still there when it came.
    void answered(const ZORPrinterError& error);

    // A job command did not reach the service, or not for certain: the next request quotes nothing,
    // so that the service tells what is open.
    void command_failed();

private:
    std::shared_ptr<ZORPrinterStatus>& m_waiting;
    std::shared_ptr<const ZORPrinterStatus> m_taken_in; // what the next request quotes
    bool m_must_ask_afresh = false;
    bool m_is_under_way = false;
    std::vector<ZORPrinterError> m_answered_since_asked; // filled only while a request is under way
};
