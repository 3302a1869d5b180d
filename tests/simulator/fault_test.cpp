#include "fault.h"

#include <algorithm>
#include <map>

#include <gtest/gtest.h>

#include "command_interpreter.h"
#include "wire.h"

namespace printer_simulator {
namespace {

constexpr std::string_view TEXT = "<PrinterStatus/>";

Fault fault_of(std::string_view words) {
    Tokenizer tokenizer(words);
    return parse_fault_words(tokenizer);
}

SpoiledReply spoiled(std::string_view words) {
    std::mt19937 random;
    return spoiled_reply(fault_of(words), TEXT, random);
}

TEST(SpoiledReply, IsTheProperOneWithoutAFault) {
    const SpoiledReply reply = spoiled("none");
    EXPECT_EQ(reply.plan.bytes, framed(TEXT));
    EXPECT_EQ(reply.delivery, SpoiledReply::Delivery::whole);
}

TEST(SpoiledReply, IsCutAtEveryOffset) {
    for (std::size_t size = 0; size < framed(TEXT).size(); ++size) {
        const SpoiledReply reply = spoiled("cut " + std::to_string(size));
        EXPECT_EQ(reply.plan.bytes, framed(TEXT).substr(0, size));
        EXPECT_EQ(reply.delivery, SpoiledReply::Delivery::failed);
    }
    EXPECT_EQ(spoiled("cut 1000").delivery, SpoiledReply::Delivery::whole);
}

TEST(SpoiledReply, LiesAboutItsLength) {
    const SpoiledReply longer = spoiled("lie 18446744073709551615 hold");
    EXPECT_EQ(longer.plan.bytes, std::string(8, '\xff') + std::string(TEXT));
    EXPECT_EQ(longer.delivery, SpoiledReply::Delivery::failed);
    EXPECT_TRUE(longer.plan.hold_open);
    const SpoiledReply shorter = spoiled("lie 3");
    EXPECT_EQ(shorter.delivery, SpoiledReply::Delivery::replaced);
    EXPECT_EQ(shorter.text, "<Pr");
    EXPECT_FALSE(shorter.plan.hold_open);
}

TEST(SpoiledReply, IsGarbageWithOrWithoutAFrame) {
    const SpoiledReply framed_garbage = spoiled("garbage 100");
    EXPECT_EQ(decoded_prefix(framed_garbage.plan.bytes), 100U);
    EXPECT_EQ(framed_garbage.plan.bytes.size(), 108U);
    EXPECT_EQ(spoiled("garbage 100 bare").plan.bytes.size(), 100U);
    EXPECT_EQ(spoiled("garbage").plan.bytes.size(), 72U);
}

TEST(SpoiledReply, IsAsBigAsWanted) {
    const SpoiledReply reply = spoiled("big 100K");
    EXPECT_EQ(reply.text.size(), 102400U);
    EXPECT_EQ(reply.text.substr(0, TEXT.size()), TEXT);
    EXPECT_EQ(reply.plan.bytes, framed(reply.text));
}

TEST(SpoiledReply, IsLateSlowEmptyOrWithheld) {
    EXPECT_EQ(spoiled("delay 2s").plan.delay.count(), 2000);
    EXPECT_EQ(spoiled("trickle 3").plan.byte_interval->count(), 3);
    EXPECT_EQ(spoiled("empty").plan.bytes, std::string(8, '\0'));
    EXPECT_TRUE(spoiled("silent").plan.withheld);
}

TEST(SpoiledReply, IsAResetThatBringsNothing) {
    const SpoiledReply reply = spoiled("reset");
    EXPECT_TRUE(reply.plan.reset);
    EXPECT_EQ(reply.plan.bytes, "");
    EXPECT_EQ(reply.delivery, SpoiledReply::Delivery::failed);
}

TEST(Fault, DescribesItselfInTheWordsThatGiveItAgain) {
    for (const char* words :
         {"none", "none on status", "refuse", "garbage 64 on status 1 in 5 seed 7 times 2",
          "reset 1 in 3 seed 1", "reset on commands times 2", "silent on status", "delay 5 times 3",
          "cut 12 on commands times 2", "lie 7 hold", "trickle 1", "garbage 64 bare", "big 1000",
          "empty times 1"}) {
        EXPECT_EQ(fault_of(words).description(), words);
    }
}

// What a fault does to TEXT, in a few words.
std::string effect(const SpoiledReply& reply) {
    std::string out = reply.plan.bytes == framed(TEXT) ? "proper" : "other";
    out = reply.plan.bytes.empty() ? "nothing" : out;
    out += reply.plan.withheld ? " withheld" : "";
    out += reply.plan.reset ? " reset" : "";
    out += reply.plan.delay.count() != 0 ? " late" : "";
    out += reply.plan.byte_interval ? " slow" : "";
    return out;
}

TEST(FaultWords, HaveEachAnEffectOfTheirOwn) {
    const std::map<std::string_view, std::string> effects = {
        {"big", "other"},           {"cut", "other"},
        {"delay", "proper late"},   {"empty", "other"},
        {"garbage", "other"},       {"lie", "other"},
        {"none", "proper"},         {"refuse", "proper"},
        {"reset", "nothing reset"}, {"silent", "nothing withheld"},
        {"trickle", "proper slow"},
    };
    for (const FaultWord& word : fault_words()) {
        ASSERT_TRUE(effects.contains(word.name)) << word.name << " is not tested";
        const std::string value = word.value == FaultValue::none ? "" : " 5";
        EXPECT_EQ(effect(spoiled(std::string(word.name) + value)), effects.at(word.name))
            << word.name;
        EXPECT_EQ(fault_of(std::string(word.name) + value).kind, word.kind);
    }
    EXPECT_EQ(effects.size(), fault_words().size());
}

TEST(FaultWords, StandInTheOrderOfTheAlphabetAndBeginTheirUsage) {
    const auto words = fault_words();
    EXPECT_TRUE(std::is_sorted(words.begin(), words.end(),
                               [](const auto& a, const auto& b) { return a.name < b.name; }));
    for (const FaultWord& word : words) {
        EXPECT_TRUE(word.usage.starts_with(word.name)) << word.name;
        EXPECT_TRUE(word.help.ends_with('.')) << word.name;
    }
}

TEST(ParseFaultWords, DoesNotTakeAShareForASize) {
    EXPECT_EQ(fault_of("garbage 1 in 5").description(), "garbage 64 1 in 5 seed 1");
    EXPECT_EQ(fault_of("garbage 1 1 in 5").description(), "garbage 1 1 in 5 seed 1");
}

TEST(ParseFaultWords, RefusesWhatMakesNoSense) {
    for (const char* words : {"",
                              "bogus",
                              "cut",
                              "cut x",
                              "cut 5 times",
                              "cut 5 times 0",
                              "cut 5 on x",
                              "cut 5 hold",
                              "lie 5 bare",
                              "refuse times 2",
                              "refuse 1 in 2",
                              "reset 1",
                              "reset 1 of 3",
                              "reset 1 in",
                              "reset 1 in 0",
                              "reset 2 in 3",
                              "reset 1 in 3 seed",
                              "reset 1 in 3 seed x",
                              "none times 2",
                              "silent 5",
                              "big 2G",
                              "lie 18446744073709551616",
                              "delay 1h"}) {
        EXPECT_THROW(fault_of(words), CommandError) << words;
    }
}

} // namespace
} // namespace printer_simulator
