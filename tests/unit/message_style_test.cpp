// The writing rules of docs/glossary.md, held against every body that is not fixed to the letter:
// how a place in the machine is opened, what becomes of card and job, one name for one thing.

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "zor_messages.h"

namespace {

// The bodies that we may word, by id.
std::map<int, std::string> own_bodies() {
    std::map<int, std::string> bodies;
    for (const auto& entry : build_printer_error_code_mapping()) {
        const int id = entry.body_text_message_id;
        if (id > 1000 && id < 2000) {
            bodies[id] = get_message_text(id);
        }
    }
    for (const int fixed : {1101, 1115, 1173, 1257, 1317}) {
        bodies.erase(fixed);
    }
    return bodies;
}

std::string glossary() {
    std::ifstream file(ZOR_GLOSSARY);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool holds(const std::string& text, const std::string& phrase) {
    return text.find(phrase) != std::string::npos;
}

std::vector<std::size_t> places_of(const std::string& text, const std::string& phrase) {
    std::vector<std::size_t> places;
    for (auto at = text.find(phrase); at != std::string::npos; at = text.find(phrase, at + 1)) {
        places.push_back(at);
    }
    return places;
}

// The steps with their numbers, without what stands before the first.
std::vector<std::string> steps_of(const std::string& text) {
    std::vector<std::string> steps;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (std::isdigit(static_cast<unsigned char>(line.empty() ? 'x' : line[0])) != 0) {
            steps.push_back(line);
        }
    }
    return steps;
}

std::string lower_case(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// A text without these sentences, to look at what is left.
std::string without(std::string text, const std::vector<std::string>& sentences) {
    for (const auto& sentence : sentences) {
        for (auto at = text.find(sentence); at != std::string::npos; at = text.find(sentence)) {
            text.erase(at, sentence.size());
        }
    }
    return text;
}

const std::string NO_TOOLS = "by hand. Do not use tools.";
const std::string POWER_OFF = "ower off the printer with its power button";
const std::string UNFINISHED = "Reject unfinished cards.";
const std::string STUCK = "If anything is stuck, close the cover and power off";
const std::string PIECES = "Remove any card and pieces by hand.";
const std::string FAILED_CARD = "Reject the card that failed.";
const std::string LOOK = "Wait until the printer is ready, then check the output hopper.";
const std::string USER_BUTTON = "press the printer's user button.";
const std::string AGAIN = "If the job does not continue, print the card again.";
const std::string AGAIN_UNLESS_FOUND =
    "If the job does not continue and you did not find the card finished, print it again.";
const std::string CORRECTED = "ive up this job and send a corrected one.";
const std::string NO_SAME_CARD =
    "If you cannot find that card, give up this job and send it again.";

// A place in the machine, and the words with which a hand gets into it.
struct Place {
    const char* door;
    const char* power_off; // what follows the power button
    const char* cool_and_open;
    const char* warning;  // of what is hot in there; empty where nothing is
    const char* power_on; // closing it
};

constexpr Place PLACES[] = {
    {"printer cover", ".", "Let hot parts cool for 30 minutes, then open the printer cover.",
     "Do not touch the ", "Close the printer cover, then power on the printer."},
    {"emboss cover", ", and the embosser if it has a power switch.",
     "Let the topper cool for 30 minutes, then open the emboss cover.", "",
     "Close the emboss cover, then power on the printer and the embosser."},
    {"laminator cover", ", and the laminator if it has a power switch.",
     "Let the heated rollers cool for 30 minutes, then open the laminator cover.", "",
     "Close the laminator cover, then power on the printer and the laminator."},
    {"laser cover", ", and the laser if it has a power switch.",
     "Let the laser cool for 30 minutes, then open the laser cover.", "",
     "Close the laser cover, then power on the printer and the laser."},
    {"LCM door", ", and the LCM if it has a power switch.",
     "Let the lamp cool for 30 minutes, then open the LCM door.", "Do not touch the lamp.",
     "Close the LCM door, then power on the printer and the LCM."},
    {"RIM door", ", and the RIM if it has a power switch.",
     "Wait until nothing moves, then open the RIM door.", "",
     "Close the RIM door, then power on the printer and the RIM."},
    {"rear module door", ", and the rear module if it has a power switch.",
     "Let hot parts cool for 30 minutes, then open the rear module door.", "",
     "Power on what you powered off."},
};

// Whether the phrases stand in this order, each one behind the one before.
testing::AssertionResult in_order(const std::string& text,
                                  const std::vector<std::vector<std::string>>& alternatives) {
    std::size_t from = 0;
    for (const auto& phrases : alternatives) {
        std::size_t end = std::string::npos;
        for (const auto& phrase : phrases) {
            const auto at = text.find(phrase, from);
            end = at == std::string::npos ? end : std::min(end, at + phrase.size());
        }
        if (end == std::string::npos) {
            return testing::AssertionFailure()
                   << "\"" << phrases.front() << "\" is missing or stands too early";
        }
        from = end;
    }
    return testing::AssertionSuccess();
}

TEST(Safety, EveryPlaceIsPoweredOffCooledOpenedAndClosedInThisOrder) {
    for (const auto& place : PLACES) {
        int opened = 0;
        for (const auto& [id, text] : own_bodies()) {
            if (!holds(text, place.cool_and_open)) {
                continue;
            }
            ++opened;
            EXPECT_TRUE(in_order(
                text, {{POWER_OFF + place.power_off,
                        POWER_OFF + ", and every module that has a power switch."},
                       {place.cool_and_open},
                       {place.power_on, "Power on what you powered off.",
                        "Close the printer cover, then power on the modules and the printer."}}))
                << "id " << id;
            EXPECT_TRUE(holds(text, place.warning)) << "id " << id << ": " << place.warning;
            if (holds(text, " card by hand") || holds(text, " cards by hand")) {
                EXPECT_TRUE(in_order(text, {{place.cool_and_open}, {NO_TOOLS}, {"ower on"}}))
                    << "id " << id;
            }
        }
        EXPECT_GT(opened, 0) << place.door;
    }
}

// Whether the sentence that ends here is this one.
bool ends_with(const std::string& text, std::size_t end, const std::string& sentence) {
    return end >= sentence.size() &&
           text.compare(end - sentence.size(), sentence.size(), sentence) == 0;
}

TEST(Safety, NoCoverOpensInOtherWords) {
    const std::regex warned("^pen the printer cover\\. Do not touch the [^.]*\\. It can be hot\\."
                            "|^pen the laminator cover\\. Do not reach past the supply\\. The "
                            "heated rollers can be hot");
    for (const auto& place : PLACES) {
        const auto door = std::string("pen the ") + place.door;
        for (const auto& [id, text] : own_bodies()) {
            for (const auto at : places_of(text, door)) {
                const auto end = text.find('.', at) + 1;
                const auto step = text.substr(at, text.find('\n', at) - at);
                EXPECT_TRUE(ends_with(text, end, place.cool_and_open) ||
                            step.rfind(door + " and close it again.", 0) == 0 ||
                            std::regex_search(step, warned))
                    << "id " << id << ": o" << step;
            }
        }
    }
}

// Whoever pulls at a supply or a card under the printer cover has the hand beside the printhead.
TEST(Safety, ThePrintheadIsNamedWhereAHandGoesUnderThePrinterCover) {
    int hands = 0;
    for (const auto& [id, text] : own_bodies()) {
        for (const auto at : places_of(text, NO_TOOLS)) {
            const auto opened = text.rfind(", then open the ", at);
            if (opened == std::string::npos ||
                text.compare(opened, 29, ", then open the printer cover") != 0) {
                continue;
            }
            ++hands;
            EXPECT_EQ(text.find(" Do not touch the printhead.", at), at + NO_TOOLS.size())
                << "id " << id;
        }
        if (holds(text, "then open the cover of the supply.")) {
            ++hands;
            EXPECT_TRUE(holds(text, "then open the cover of the supply. Do not touch the "
                                    "printhead."))
                << "id " << id;
        }
    }
    EXPECT_GT(hands, 10);
}

// A torn supply winds around what is hot, and holds a card there.
TEST(Safety, TornSuppliesComeOutWithThePowerOff) {
    int under_power = 0;
    for (const auto& [id, text] : own_bodies()) {
        const auto steps = text.find("\n1. ");
        const auto torn = steps == std::string::npos ? steps : text.find("torn", steps);
        if (torn == std::string::npos) {
            continue;
        }
        EXPECT_LT(text.find(POWER_OFF), torn) << "id " << id;
        if (!std::regex_search(text.substr(steps + 1), std::regex("^1\\. Power off"))) {
            ++under_power;
            EXPECT_TRUE(in_order(text, {{STUCK}, {PIECES + " Do not use tools."}, {UNFINISHED}}))
                << "id " << id;
        }
    }
    EXPECT_EQ(under_power, 5);
    for (const int id : {1129, 1136, 1143}) {
        EXPECT_TRUE(std::regex_search(get_message_text(id),
                                      std::regex("Remove any card and any loose [a-z ]+ by hand")))
            << "id " << id;
    }
}

TEST(Safety, NobodyReachesIntoAModuleFromItsTrays) {
    const std::regex tray("(Remove all cards from|Check) the [^.]* of the (laser|embosser)[ .]");
    int trays = 0;
    for (const auto& [id, text] : own_bodies()) {
        for (const auto& step : steps_of(text)) {
            if (std::regex_search(step, tray)) {
                ++trays;
                EXPECT_TRUE(holds(step, "Do not reach into the ")) << "id " << id << ": " << step;
            }
        }
    }
    EXPECT_GE(trays, 7);
}

TEST(Safety, LookingAtSuppliesComesWithAWarning) {
    EXPECT_TRUE(holds(get_message_text(1113), "not seated. Do not touch hot parts."));
    EXPECT_TRUE(holds(get_message_text(1518), "are installed. Do not touch hot parts."));
    EXPECT_TRUE(holds(get_message_text(1224), "Do not open a cover yet."));
}

// A module with a power switch of its own stays as it was when only the printer is restarted.
TEST(Safety, ModulesArePoweredOffWithThePrinter) {
    const std::regex module("\\b(embosser|laminator|laser|LCM|RIM|rear module)\\b");
    int texts = 0;
    for (const auto& [id, text] : own_bodies()) {
        if (!std::regex_search(text, module)) {
            continue;
        }
        ++texts;
        EXPECT_EQ(places_of(text, POWER_OFF).size(), places_of(text, POWER_OFF + ", and ").size())
            << "id " << id;
    }
    EXPECT_GT(texts, 50);
}

TEST(Safety, WhatGoingOnWouldDamageStaysOff) {
    for (const int id : {1104, 1125, 1196, 1211, 1228, 1229, 1230, 1263, 1267, 1313, 1315}) {
        const auto last = steps_of(get_message_text(id)).back();
        EXPECT_TRUE(std::regex_search(
            last, std::regex("If the problem continues, power off the printer(, leave it off| and "
                             "the (embosser|laminator|laser|LCM), leave them off) and call for "
                             "service")))
            << "id " << id << ": " << last;
    }
}

TEST(Safety, NobodyUsesTools) {
    for (const auto& [id, text] : own_bodies()) {
        EXPECT_EQ(places_of(text, "by hand").size(), places_of(text, NO_TOOLS).size())
            << "id " << id;
    }
}

// But for a card that sticks out, which is pulled from outside.
TEST(Safety, ThePowerIsOffBeforeAHandReachesACard) {
    for (const auto& [id, text] : own_bodies()) {
        for (const auto at : places_of(text, NO_TOOLS)) {
            const auto step = text.rfind('\n', at) + 1;
            const bool sticks_out = holds(text.substr(step, at - step), "sticks out of the");
            EXPECT_TRUE(sticks_out || text.rfind(POWER_OFF, at) != std::string::npos)
                << "id " << id;
        }
    }
}

TEST(Safety, ModulesArePoweredOffBeforeTheyAreAttached) {
    for (const auto& [id, text] : own_bodies()) {
        for (const char* work : {" is attached", " are connected.", "its cable is connected."}) {
            for (const auto at : places_of(text, work)) {
                const bool only_a_data_cable = id == 1500 || id == 1501 || id == 1505;
                EXPECT_TRUE(only_a_data_cable || text.rfind(POWER_OFF, at) != std::string::npos)
                    << "id " << id << ": " << work;
            }
        }
    }
}

TEST(Closing, ACardIsPrintedAgainOnlyIfItsJobDoesNotContinue) {
    for (const auto& [id, text] : own_bodies()) {
        const auto rest =
            lower_case(without(text, {AGAIN, AGAIN_UNLESS_FOUND,
                                      "If you find the card finished, do not print it "
                                      "again."}));
        for (const char* again :
             {"print the card again", "print it again", " reprint", "print again"}) {
            EXPECT_FALSE(holds(rest, again)) << "id " << id << ": " << again;
        }
    }
}

// Powering off can lose the job. Where no card is at stake, or the printer stays off, nothing
// follows.
TEST(Closing, WhatBecomesOfTheJobIsSaidBehindEveryPowerOff) {
    const std::set<int> no_card{1134, 1148};
    for (const auto& [id, text] : own_bodies()) {
        const auto last = text.rfind(POWER_OFF);
        if (last == std::string::npos || no_card.count(id) != 0) {
            continue;
        }
        const auto rest = text.substr(last);
        EXPECT_TRUE(holds(rest, AGAIN) || holds(rest, AGAIN_UNLESS_FOUND) ||
                    holds(rest, "Repeat the request.") || holds(rest, "Import the file again."))
            << "id " << id;
    }
}

TEST(Closing, AWaitingPrinterIsSentOnWithItsUserButtonFirst) {
    for (const int id : {1110, 1111, 1112, 1113, 1120, 1123, 1124, 1132, 1133, 1141, 1142,
                         1152, 1153, 1166, 1170, 1171, 1172, 1202, 1207, 1237, 1242, 1255,
                         1256, 1271, 1272, 1275, 1277, 1307, 1316, 1322, 1325, 1329}) {
        const auto text = get_message_text(id);
        const auto button = text.find("press the printer's user button");
        ASSERT_NE(button, std::string::npos) << "id " << id;
        EXPECT_LT(button, text.find(AGAIN)) << "id " << id;
        EXPECT_LT(button, text.find(AGAIN_UNLESS_FOUND)) << "id " << id;
    }
    for (const auto& [id, text] : own_bodies()) {
        if (holds(lower_case(text), "the job waits")) {
            EXPECT_TRUE(holds(text, "user button")) << "id " << id;
        }
    }
}

TEST(Closing, ACorrectedJobTakesThePlaceOfTheFailedOne) {
    for (const auto& [id, text] : own_bodies()) {
        const auto rest = without(text, {CORRECTED, NO_SAME_CARD});
        EXPECT_FALSE(std::regex_search(rest, std::regex("[Ss]end |corrected"))) << "id " << id;
    }
}

TEST(Closing, ACardTakenOutOfTheMachineIsNotUsedAgain) {
    for (const auto& [id, text] : own_bodies()) {
        const bool takes_out = std::regex_search(
            text, std::regex("[Rr]emove (any|all|the|the jammed) cards?\\b[^.]* by hand"));
        if (takes_out) {
            EXPECT_TRUE(in_order(text, {{NO_TOOLS}, {UNFINISHED}})) << "id " << id;
        }
    }
}

// Whoever gets the card out in one step skips the next one, and must not miss what it says of
// cards.
TEST(Closing, ACardThatAHandPullsOutIsRejectedOnBothWays) {
    int ways = 0;
    for (const auto& [id, text] : own_bodies()) {
        const auto steps = steps_of(text);
        for (std::size_t i = 0; i + 1 < steps.size(); ++i) {
            const bool skipped = steps[i].find("If you see no card or ") == 3 ||
                                 steps[i].find("If you do not find the card or ") == 3;
            const bool pulled_out = holds(steps[i], "sticks out of the ");
            const bool then_skipped = steps[i + 1].find("If you see no card or ") == 3;
            if (skipped || (pulled_out && !then_skipped)) {
                ++ways;
                EXPECT_FALSE(holds(steps[i], UNFINISHED)) << "id " << id << ": " << steps[i];
                EXPECT_EQ(steps[i + 1].find(UNFINISHED), 3U) << "id " << id << ": " << steps[i + 1];
            }
        }
    }
    EXPECT_EQ(ways, 6);
}

// Such a card can look finished.
TEST(Closing, ACardThatCouldNotBeEncodedIsRejected) {
    EXPECT_TRUE(holds(get_message_text(1105), "1. " + FAILED_CARD));
    EXPECT_TRUE(holds(get_message_text(1233), "If it is damaged, reject the card and load a new "
                                              "one."));
}

TEST(Closing, TheSameCardCanBeGone) {
    int waiting = 0;
    for (const auto& [id, text] : own_bodies()) {
        for (const auto at : places_of(text, "Do not use a new card.")) {
            ++waiting;
            EXPECT_EQ(text.find(NO_SAME_CARD, at),
                      at + std::string("Do not use a new card. ").size())
                << "id " << id;
        }
    }
    EXPECT_EQ(waiting, 3);
}

// Where the card can have left the machine, or a hand takes it out near an exit.
TEST(Closing, ACardThatCanBeFinishedIsLookedForFirst) {
    const std::regex outside("heck the (output hopper|card output|opening)"
                             "|Remove all cards from the (output hopper|card output|card stack)"
                             "|sticks out of the|opened during the job");
    int texts = 0;
    for (const auto& [id, text] : own_bodies()) {
        const bool rear = (holds(text, "RIM") || holds(text, "rear module")) &&
                          (holds(text, NO_TOOLS) || holds(text, "error occurred")) && id != 1307;
        if (rear || std::regex_search(text, outside)) {
            ++texts;
            EXPECT_FALSE(holds(text, AGAIN)) << "id " << id;
            EXPECT_TRUE(holds(text, AGAIN_UNLESS_FOUND)) << "id " << id;
        }
    }
    EXPECT_GT(texts, 20);
    for (const int id : {1500, 1501, 1505}) {
        EXPECT_TRUE(in_order(get_message_text(id), {{LOOK}, {AGAIN_UNLESS_FOUND}})) << "id " << id;
    }
}

TEST(Closing, ARequestIsRepeatedInTheEnd) {
    for (const auto& [id, text] : own_bodies()) {
        if (holds(text, "the request was not carried out")) {
            EXPECT_TRUE(holds(text.substr(text.rfind(POWER_OFF)), "epeat the request."))
                << "id " << id;
        }
    }
}

TEST(Remedy, OneTitleHasOneAdvice) {
    const auto first = steps_of(get_message_text(1195));
    EXPECT_EQ(first, steps_of(get_message_text(1300)));
    EXPECT_EQ(first.size(), 4U);
}

// A supply whose tag was not read sits loose more often than it is a wrong one.
TEST(Remedy, AnUnknownSupplyIsPushedInBeforeANewOneIsBought) {
    const std::regex reseated(
        "undamaged tag[^.]*, push it in until it is seated\\. Otherwise install (such a|one that "
        "has an undamaged tag)"
        "|If its tag is damaged or missing, use a new C[12] supply\\.\n"
        "3\\. Push the C[12] supply in until it is seated");
    int supplies = 0;
    for (const auto& [id, text] : own_bodies()) {
        if (holds(text.substr(0, text.find('\n')), "not identified")) {
            ++supplies;
            EXPECT_TRUE(std::regex_search(text, reseated)) << "id " << id;
        }
    }
    EXPECT_EQ(supplies, 11);
}

TEST(Closing, RejectedCardsAreAccountedFor) {
    int trays = 0;
    for (const auto& [id, text] : own_bodies()) {
        if (std::regex_search(text, std::regex("Remove all cards from the [^.]*reject tray"))) {
            ++trays;
            EXPECT_TRUE(holds(text, "Handle them as your rules for rejected cards say. They can "
                                    "hold personal data."))
                << "id " << id;
        }
        EXPECT_FALSE(holds(text, "estroy")) << "id " << id;
    }
    EXPECT_EQ(trays, 3);
}

// The title of a box is the printer's name; what the catalogue calls a title is its first line.
TEST(Wording, NobodyIsSentToTheTitle) {
    for (const auto& [id, text] : own_bodies()) {
        EXPECT_FALSE(holds(lower_case(text), "title")) << "id " << id;
    }
}

TEST(Wording, ModulesWithInitialsAreNamedInFullOnce) {
    for (const auto& [id, text] : own_bodies()) {
        EXPECT_EQ(places_of(text, "RIM (rear insertion module)").size(),
                  holds(text, "RIM") ? 1U : 0U)
            << "id " << id;
        EXPECT_EQ(places_of(text, "LCM (Light Cure Module)").size(), holds(text, "LCM") ? 1U : 0U)
            << "id " << id;
    }
}

// Longer ones would not fit their box in a translation.
TEST(Wording, BodiesAreShort) {
    for (const auto& [id, text] : own_bodies()) {
        EXPECT_LE(text.size(), 657U) << "id " << id;
    }
    EXPECT_LE(get_message_text(1118).size(), 540U); // was the longest of all
}

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(' ');
    return first == std::string::npos ? ""
                                      : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// The words of the column "Do not call it", but for those that a remark in parentheses explains.
std::vector<std::string> forbidden_words() {
    std::istringstream terms(glossary());
    std::vector<std::string> words;
    bool in_table = false;
    for (std::string line; std::getline(terms, line);) {
        in_table = line.rfind("| Term |", 0) == 0 || (in_table && line.rfind('|', 0) == 0);
        std::vector<std::string> cells;
        std::istringstream row(line);
        for (std::string cell; in_table && std::getline(row, cell, '|');) {
            cells.push_back(cell);
        }
        if (cells.size() < 4 || trimmed(cells[1]) == "Term" || holds(cells[1], "---")) {
            continue;
        }
        std::istringstream column(cells[3]);
        for (std::string word; std::getline(column, word, ',');) {
            if (!holds(word, "(")) {
                words.push_back(trimmed(word));
            }
        }
    }
    return words;
}

TEST(Wording, OneThingHasOneName) {
    const auto words = forbidden_words();
    ASSERT_GT(words.size(), 100U);
    for (const auto& word : words) {
        ASSERT_FALSE(word.empty());
        const std::regex pattern("\\b" + word + "s?\\b", std::regex::icase);
        for (const auto& [id, text] : own_bodies()) {
            EXPECT_FALSE(std::regex_search(text, pattern)) << "id " << id << ": " << word;
        }
    }
}

TEST(Wording, IsWhatTheGlossarySays) {
    const auto page = glossary();
    std::vector<std::string> phrases{NO_TOOLS,    UNFINISHED,
                                     POWER_OFF,   USER_BUTTON,
                                     AGAIN,       AGAIN_UNLESS_FOUND,
                                     CORRECTED,   "Power on what you powered off.",
                                     STUCK,       PIECES,
                                     FAILED_CARD, NO_SAME_CARD,
                                     LOOK};
    for (const auto& place : PLACES) {
        phrases.insert(phrases.end(),
                       {place.power_off, place.cool_and_open, place.warning, place.power_on});
    }
    for (const auto& phrase : phrases) {
        EXPECT_TRUE(holds(page, phrase)) << phrase;
    }
}

} // namespace
