// Faults that the simulated service shows on request, and what they make of a reply.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <string_view>

namespace printer_simulator {

enum class FaultKind {
    none,    // serve properly
    refuse,  // do not listen, so that connects are refused
    reset,   // read the request, then reset the connection instead of answering
    silent,  // read the request and never answer
    delay,   // answer after `value` milliseconds
    cut,     // send `value` bytes of the reply frame, then close
    lie,     // announce `value` bytes, send the real text, then close
    trickle, // send one byte every `value` milliseconds
    garbage, // answer `value` random bytes
    big,     // answer a valid document of at least `value` bytes
    empty,   // answer a text of length 0
};

enum class FaultTarget { both, status, commands };

// What stands after a fault's name in a command.
enum class FaultValue { none, time, size, optional_size };

struct FaultWord {
    std::string_view name;
    FaultKind kind;
    FaultValue value;
    std::string_view usage; // the name with its value and what else only this fault takes
    std::string_view help;  // a sentence; the manual page says the same, and perhaps more
};

// All faults by name, in the order of the alphabet.
std::span<const FaultWord> fault_words();

struct Fault {
    FaultKind kind = FaultKind::none;
    std::uint64_t value = 0;
    std::optional<std::uint64_t> times; // replies left to spoil; nothing means all
    FaultTarget target = FaultTarget::both;
    std::uint64_t one_in = 1; // spoils one reply in so many, at random
    std::uint64_t seed = 1;   // where that randomness begins: the same replies with the same seed
    bool hold = false;        // lie only: keep the connection open afterwards
    bool bare = false;        // garbage only: without a frame around it

    // The words after `fault` that give this fault again.
    std::string description() const;
};

// How one reply is to be sent.
struct ReplyPlan {
    std::string bytes; // everything that goes out, the prefix included
    std::chrono::milliseconds delay{0};
    std::optional<std::chrono::milliseconds> byte_interval; // one byte at a time
    bool hold_open = false;                                 // do not close after the last byte
    bool withheld = false; // send nothing and wait for the peer to close
    bool reset = false;    // send nothing and reset the connection, once the delay is over
};

// What a fault made of a reply.
struct SpoiledReply {
    enum class Delivery {
        whole,    // the client gets the text, early or late
        padded,   // the client gets `text`, which holds the whole reply
        replaced, // the client gets `text` instead
        failed,   // the client gets no reply at all
    };

    ReplyPlan plan;
    Delivery delivery = Delivery::whole;
    std::string text; // what the client takes for the reply when padded or replaced
};

// The plan of a proper reply.
ReplyPlan plain_reply(std::string_view text);

// What `fault` makes of the reply `text`. `random` feeds garbage only.
SpoiledReply spoiled_reply(const Fault& fault, std::string_view text, std::mt19937& random);

} // namespace printer_simulator
