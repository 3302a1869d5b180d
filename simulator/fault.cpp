#include "fault.h"

#include <algorithm>
#include <array>

#include "wire.h"

namespace printer_simulator {

namespace {

using Delivery = SpoiledReply::Delivery;

constexpr std::array<FaultWord, 11> FAULT_WORDS{{
    {"big", FaultKind::big, FaultValue::size, "big BYTES",
     "Answer the proper document, made as long as wanted by a comment at its end (at most 1G)."},
    {"cut", FaultKind::cut, FaultValue::size, "cut BYTES",
     "Send that much of the reply frame, then close."},
    {"delay", FaultKind::delay, FaultValue::time, "delay TIME", "Answer after TIME."},
    {"empty", FaultKind::empty, FaultValue::none, "empty", "Answer a text of length 0."},
    {"garbage", FaultKind::garbage, FaultValue::optional_size, "garbage [BYTES] [bare]",
     "Answer random bytes (64 if not given), the same in each run, in a good frame, or with bare "
     "without any frame."},
    {"lie", FaultKind::lie, FaultValue::size, "lie LENGTH [hold]",
     "Announce LENGTH bytes (0 to 18446744073709551615), send the real text, then close, or with "
     "hold keep the connection open."},
    {"none", FaultKind::none, FaultValue::none, "none", "Serve properly."},
    {"refuse", FaultKind::refuse, FaultValue::none, "refuse",
     "Do not listen, so that connects are refused."},
    {"reset", FaultKind::reset, FaultValue::none, "reset",
     "Read requests, and reset the connection (RST) instead of answering."},
    {"silent", FaultKind::silent, FaultValue::none, "silent", "Read requests and never answer."},
    {"trickle", FaultKind::trickle, FaultValue::time, "trickle TIME", "Send one byte every TIME."},
}};

std::string random_bytes(std::uint64_t count, std::mt19937& random) {
    std::string bytes(static_cast<std::size_t>(count), '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(static_cast<unsigned char>(random() & 0xff));
    }
    return bytes;
}

std::string padded(std::string_view text, std::uint64_t size) {
    constexpr std::string_view OPEN = "<!--";
    constexpr std::string_view CLOSE = "-->";
    std::string out(text);
    const std::size_t least = out.size() + OPEN.size() + CLOSE.size();
    out += OPEN;
    if (size > least) {
        out.append(static_cast<std::size_t>(size) - least, ' ');
    }
    out += CLOSE;
    return out;
}

SpoiledReply cut_reply(const Fault& fault, std::string_view text) {
    ReplyPlan plan = plain_reply(text);
    if (fault.value >= plan.bytes.size()) {
        return {std::move(plan), Delivery::whole, {}};
    }
    plan.bytes.resize(static_cast<std::size_t>(fault.value));
    return {std::move(plan), Delivery::failed, {}};
}

SpoiledReply lying_reply(const Fault& fault, std::string_view text) {
    ReplyPlan plan;
    plan.bytes = frame_prefix(fault.value);
    plan.bytes += text;
    plan.hold_open = fault.hold;
    if (fault.value > text.size()) {
        return {std::move(plan), Delivery::failed, {}};
    }
    if (fault.value == text.size()) {
        return {std::move(plan), Delivery::whole, {}};
    }
    std::string taken(text.substr(0, static_cast<std::size_t>(fault.value)));
    return {std::move(plan), Delivery::replaced, std::move(taken)};
}

SpoiledReply garbage_reply(const Fault& fault, std::mt19937& random) {
    std::string bytes = random_bytes(fault.value, random);
    if (fault.bare) {
        ReplyPlan plan;
        plan.bytes = std::move(bytes);
        return {std::move(plan), Delivery::failed, {}};
    }
    return {plain_reply(bytes), Delivery::replaced, std::move(bytes)};
}

} // namespace

std::span<const FaultWord> fault_words() {
    return FAULT_WORDS;
}

std::string Fault::description() const {
    const auto* entry = std::find_if(FAULT_WORDS.begin(), FAULT_WORDS.end(),
                                     [this](const FaultWord& word) { return word.kind == kind; });
    std::string out(entry->name);
    if (entry->value != FaultValue::none) {
        out += " " + std::to_string(value);
    }
    out += hold ? " hold" : "";
    out += bare ? " bare" : "";
    if (target != FaultTarget::both) {
        out += target == FaultTarget::status ? " on status" : " on commands";
    }
    if (one_in != 1) {
        out += " 1 in " + std::to_string(one_in) + " seed " + std::to_string(seed);
    }
    if (times) {
        out += " times " + std::to_string(*times);
    }
    return out;
}

ReplyPlan plain_reply(std::string_view text) {
    ReplyPlan plan;
    plan.bytes = framed(text);
    return plan;
}

SpoiledReply spoiled_reply(const Fault& fault, std::string_view text, std::mt19937& random) {
    SpoiledReply reply;
    switch (fault.kind) {
    case FaultKind::cut:
        return cut_reply(fault, text);
    case FaultKind::lie:
        return lying_reply(fault, text);
    case FaultKind::garbage:
        return garbage_reply(fault, random);
    case FaultKind::silent:
        reply.plan.withheld = true;
        reply.delivery = Delivery::failed;
        return reply;
    case FaultKind::reset:
        reply.plan.reset = true;
        reply.delivery = Delivery::failed;
        return reply;
    case FaultKind::empty:
        reply.plan = plain_reply("");
        reply.delivery = Delivery::replaced;
        return reply;
    case FaultKind::big:
        reply.text = padded(text, fault.value);
        reply.plan = plain_reply(reply.text);
        reply.delivery = Delivery::padded;
        return reply;
    case FaultKind::delay:
        reply.plan = plain_reply(text);
        reply.plan.delay = std::chrono::milliseconds(fault.value);
        return reply;
    case FaultKind::trickle:
        reply.plan = plain_reply(text);
        reply.plan.byte_interval = std::chrono::milliseconds(fault.value);
        return reply;
    case FaultKind::none:
    case FaultKind::refuse:
        break;
    }
    reply.plan = plain_reply(text);
    return reply;
}

} // namespace printer_simulator
