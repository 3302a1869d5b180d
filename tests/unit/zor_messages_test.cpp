#include "zor_messages.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <map>
#include <new>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "translation_support.h"

namespace {

// Threads that look codes up, and what they take from the heap meanwhile.
struct Lookups {
    static constexpr int THREADS = 8;
    static inline std::atomic<int> begun{0};
    static inline thread_local bool is_under_way = false;
    static inline thread_local int allocations = 0;
};

} // namespace

// Not inlined: gcc 12 would see a free() of what came from new, and warn.
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (Lookups::is_under_way) {
        ++Lookups::allocations;
        while (Lookups::begun < Lookups::THREADS) {
            std::this_thread::yield(); // so that a table without a guard is built more than once
        }
    }
    if (void* memory = std::malloc(std::max(size, std::size_t{1}))) {
        return memory;
    }
    throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return std::malloc(std::max(size, std::size_t{1}));
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

namespace {

struct Text {
    int id;
    const char* text;
};

// What follows "Message ", the id, a colon and a blank in each title but 315.
constexpr Text TITLES[] = {
    {100, "Request not supported."},
    {101, "Job could not complete."},
    {102, "Card not in position."},
    {103, "Printer problem."},
    {104, "Critical problem."},
    {105, "Magstripe data error."},
    {106, "Magstripe data not found."},
    {107, "Magstripe read data error."},
    {108, "Magstripe read no data."},
    {109, "Print ribbon problem."},
    {110, "Print ribbon out or missing."},
    {111, "Card not picked."},
    {112, "Card hopper empty."},
    {113, "Close cover to continue."},
    {114, "Cover opened during job."},
    {115, "Wait for print temperature."},
    {116, "Magstripe not available."},
    {117, "Reader not available."},
    {118, "Print ribbon type problem."},
    {119, "Print ribbon not supported."},
    {120, "User paused the printer."},
    {121, "Print ribbon not identified."},
    {122, "Magstripe format problem."},
    {123, "Insert new card side 1 up."},
    {124, "Insert same card side 2 up."},
    {125, "Emboss critical error."},
    {126, "Emboss format error."},
    {127, "Emboss transport error."},
    {128, "Embosser card jam."},
    {129, "Embosser topper jam."},
    {130, "Embosser card entry jam."},
    {131, "Embosser card exit jam."},
    {132, "Embosser card stack full."},
    {133, "Embosser card reject full."},
    {134, "Indent ribbon low."},
    {135, "Indent ribbon supplies out."},
    {136, "Indent ribbon break."},
    {137, "Embosser wheel error."},
    {138, "Embosser indent error."},
    {139, "Card not in position in embosser."},
    {140, "Embosser not available."},
    {141, "Close emboss cover."},
    {142, "Emboss cover error."},
    {143, "Topping foil problem."},
    {144, "Topping foil out."},
    {145, "Topping foil type problem."},
    {146, "Topping foil support error."},
    {147, "Topping foil no tag found."},
    {148, "Topping foil low."},
    {149, "Option not installed."},
    {150, "Print while unlocked."},
    {151, "Failed to lock."},
    {152, "Insert new card side 2 up."},
    {153, "Insert same card side 2 up."},
    {166, "C2 supply out or missing"},
    {167, "C2 supply not identified"},
    {168, "C2 supply not suppported"},
    {169, "Not supported."},
    {170, "Insert new card side 1 up."},
    {171, "Insert same card side 1 up."},
    {172, "Insert Cleaning Card"},
    {173, "Improper Shutdown"},
    {175, "C2 supply error"},
    {176, "C2 supply type error"},
    {177, "Laminator not available."},
    {178, "Card blocking exit sensors"},
    {179, "Card not received"},
    {195, "Card not dispensed."},
    {196, "Laminator error critical."},
    {197, "Laminator entry card problem."},
    {198, "L1 area card problem."},
    {199, "L2 area card problem."},
    {200, "Laminator exit card problem."},
    {201, "L1 supply problem."},
    {202, "L1 supply out or missing."},
    {203, "L1 supply type problem."},
    {204, "L1 supply not supported."},
    {205, "L1 supply not identified."},
    {206, "L2 supply problem."},
    {207, "L2 supply out or missing."},
    {208, "L2 supply type problem."},
    {209, "L2 supply not supported."},
    {210, "L2 supply not identified."},
    {211, "L1 heater problem."},
    {212, "L2 heater problem."},
    {213, "L1 heater sensor problem."},
    {214, "L2 heater sensor problem."},
    {215, "L1 heater roller problem."},
    {216, "L2 heater roller problem."},
    {217, "Debow problem."},
    {218, "Impresser problem."},
    {219, "Impresser sensor problem."},
    {220, "Impresser heater problem."},
    {221, "Bar code scanner problem."},
    {222, "Firmware version mismatch."},
    {223, "Laminator system mismatch."},
    {224, "Supply region code not valid."},
    {225, "Rewrite config mismatch."},
    {227, "C2 waiting for roller temp"},
    {228, "C1 printhead error"},
    {229, "C2 heat sensor error"},
    {230, "C2 heater error"},
    {231, "C2 heated roller motion error"},
    {232, "Retransfer debow error"},
    {233, "Smart card contact fail"},
    {234, "K1 transport card jam"},
    {235, "K2 transport card jam"},
    {236, "Flipper module rotate error"},
    {237, "C1 supply out or missing"},
    {238, "C1 supply not identified"},
    {239, "C1 supply not supported"},
    {240, "C1 supply error"},
    {241, "C1 supply type error"},
    {242, "RT1 reject tray full"},
    {243, "Card lost"},
    {244, "Not supported."},
    {245, "Configuration error"},
    {250, "Card indexer error"},
    {251, "Laser position error"},
    {252, "Laser template error"},
    {253, "Laser horizontal data error"},
    {254, "Laser not available"},
    {255, "Laser cover open"},
    {256, "Laser interlock open"},
    {257, "Laser air filter missing"},
    {258, "Laser not detected"},
    {259, "Laser firmware error"},
    {260, "Laser control error"},
    {261, "Laser option not supported"},
    {262, "Vision operation failed"},
    {263, "Laser power board error"},
    {264, "Lost card in laser"},
    {265, "Laser card entry jam"},
    {266, "Laser card exit jam"},
    {267, "Laser hardware failure"},
    {268, "Laser setup error"},
    {269, "Laser setup name length error"},
    {270, "Laser text length error"},
    {271, "Laser card output full"},
    {272, "Laser card reject full"},
    {273, "Laser output area error"},
    {274, "Vision not available"},
    {275, "Multi-hopper error"},
    {276, "Multi-hopper card jam"},
    {277, "Multi-hopper pick error"},
    {298, "Option tag success"},
    {300, "Card not dispensed."},
    {301, "RIM not detected."},
    {302, "RIM arm error."},
    {303, "RIM wheel error."},
    {304, "RIM supply error"},
    {305, "RIM lost card"},
    {306, "RIM card jam"},
    {307, "RIM rear pick error"},
    {308, "RIM dispense error"},
    {309, "RIM error"},
    {310, "Kiosk card lost"},
    {311, "LCM card jam"},
    {312, "LCM lost card"},
    {313, "LCM lamp drive problem"},
    {314, "LCM lamp problem"},
    {316, "LCM door open"},
    {317, "LCM cooling"},
    {318, "UV ribbon requires LCM"},
    {319, "LCM comm error"},
    {320, "Rear Module error"},
    {321, "Card not picked."},
    {322, "RIM door open"},
    {323, "Insert cleaning card"},
    {324, "UV printing prohibited at 300x300 resolution. "},
    {325, "Close rear module door"},
    {326, "Rear module door opened"},
    {329, "Output hopper full"},
    {500, "The printer is not available."},
    {501, "The printer connection was lost."},
    {502, "The card data is missing or is not usable."},
    {503, "The card data is missing or is not usable."},
    {504, "The card data is missing or is not usable."},
    {505, "USB communication issue."},
    {506, "A card is currently processing."},
    {507, "The printer is unlocked."},
    {508, "The printer is shutting down."},
    {509, "The printer is offline or suspended."},
    {510, "The printer is unlocked."},
    {511, "Cannot lock or unlock the printer.  Locks are not installed."},
    {512, "Cannot lock or unlock the printer. The password is incorrect or invalid."},
    {513, "Cannot unlock the printer. The printer is busy."},
    {514, "Cannot lock the printer. The printer cover is open."},
    {515, "Failed to lock or unlock the printer. The locks did not function."},
    {516, "Timeout expired before bar code could be read."},
    {517, "Wrong printer job ID."},
    {518, "Unable to print."},
    {519, "File import failed"},
    {520, "Hopper number not valid."},
    {521, "A job sent to the laser system failed because the system is not ready."},
    {522, "Failed to read laser files."},
};

constexpr Text LABELS[] = {
    {11, "Resume the card"},  {12, "Suspend printing"}, {13, "Laminator Card Jam"},
    {14, "Restart printing"}, {15, "Cancel the card"},  {36, "OK"},
    {38, "Retry the card"},
};

constexpr Text NAMED_TEXTS[] = {
    {-999993, "Retry"},
    {-999992, "Cancel"},
    {-999979, "Not supported"},
    {-999975, "The option tag update completed successfully. Restart the printer to allow the "
              "change to take effect. If you are adding multiple udpates, you do not have to "
              "restart the printer until all have completed successfully."},
    {-999974, "The card has been lost in the kiosk.  Either the card was not hand fed into the "
              "kiosk successfully or a card was removed after a reject initiated."},
    {-999973,
     "The inserted UV ribbon requires an attached Light Cure Module (LCM) for curing.\n"
     "To resolve the issue shutdown printer, attach a rear LCM,and power on the printer. \n"
     "Alternatively, replace the UV ribbon with a standard ribbon."},
    {-999972, "The printer did not pick a card from the rear of the printer. To complete the "
              "current card, click the driver button and insert the card into the rear of the "
              "printer."},
    {-999971, "1. Insert cleaning card into exception slot of multihopper. \n"
              "2. If the card is not immediately picked, press the printer's user button or click "
              "OK."},
    {-999970, "Message 343: Unload Hopper 1"},
    {-999969, "Remove all cards from the output hopper 1"},
    {-999968, "Message 344: Unload Hopper 2"},
    {-999967, "Remove all cards from the output hopper 2"},
    {-999966, "Message 345: Unload Hopper 3"},
    {-999965, "Remove all cards from the output hopper 3"},
    {-999952, "Message 278: Insert cleaning card in H2"},
    {-999951, "1. Unlock the multi - hopper.\n"
              "2. Remove unused cards and insert the cleaning card in hopper 2.\n"
              "3. Close and lock the multi - hopper.\n"
              "4. Press the printer's User button to pick the card."},
    {-999950, "ZOR-Card-Printer Error"},
};

// Bodies whose text is fixed to the blank.
constexpr Text FIXED_BODIES[] = {
    {1101, "The card took too much time to complete.\n\nThe card will be canceled."},
    {1115, "When proper temperature is reached, printing the card will resume on its own."},
    {1173, "Always use the power button to power off the printer."},
    {1257, "The laser air filter was not detected.  Install the air filter."},
    {1317, "     "},
    {2000, "Not supported."},
};

struct Range {
    int first;
    int last;
};

// Titles for parts that the program does not know: the first id, and the codes in the texts.
struct NotSupported {
    int first_id;
    Range codes;
};

constexpr NotSupported NOT_SUPPORTED[] = {
    {-999991, {154, 165}}, {-999978, {192, 194}}, {-999964, {180, 191}}};

constexpr Range BODIES[] = {{1100, 1153}, {1166, 1168}, {1170, 1173}, {1175, 1179}, {1195, 1225},
                            {1227, 1243}, {1245, 1245}, {1250, 1277}, {1300, 1309}, {1311, 1317},
                            {1319, 1320}, {1322, 1322}, {1324, 1326}, {1329, 1329}, {1500, 1503},
                            {1505, 1510}, {1518, 1522}, {2000, 2000}};

const std::vector<std::vector<int>> SHARED_BODIES = {
    {1118, 1121},
    {1123, 1170},
    {1128, 1130, 1131, 1137},
    {1136, 1138},
    {1141, 1142},
    {1145, 1146},
    {1197, 1200},
    {1202, 1207},
    {1203, 1204, 1205, 1208, 1209, 1210},
    {1211, 1212, 1213, 1214, 1215, 1216, 1218, 1219, 1220},
    {1303, 1309},
};

std::set<int> body_ids() {
    std::set<int> ids;
    for (const auto& range : BODIES) {
        for (int id = range.first; id <= range.last; ++id) {
            ids.insert(id);
        }
    }
    return ids;
}

// The bodies that follow the writing rules; the fixed ones are older than those.
std::set<int> free_body_ids() {
    auto ids = body_ids();
    for (const auto& fixed : FIXED_BODIES) {
        ids.erase(fixed.id);
    }
    return ids;
}

std::string unknown_text(int id) {
    return "UNEXPECTED_TEXT_KEY:" + std::to_string(id);
}

std::map<int, std::string> expected_fixed_texts() {
    std::map<int, std::string> texts;
    for (const auto& [id, description] : TITLES) {
        texts[id] = "Message " + std::to_string(id) + ": " + description;
    }
    texts[315] = "Mesage 315: LCM fan problem";
    for (const auto& row : LABELS) {
        texts[row.id] = row.text;
    }
    for (const auto& row : NAMED_TEXTS) {
        texts[row.id] = row.text;
    }
    for (const auto& row : FIXED_BODIES) {
        texts[row.id] = row.text;
    }
    for (const auto& [first_id, codes] : NOT_SUPPORTED) {
        for (int code = codes.first; code <= codes.last; ++code) {
            texts[first_id + code - codes.first] =
                "Message " + std::to_string(code) + ": Not supported.";
        }
    }
    return texts;
}

std::vector<std::string> split_lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

// The number with which a step begins, or 0.
int step_number(const std::string& line) {
    const auto digits = line.find_first_not_of("0123456789");
    const bool is_step = digits != std::string::npos && digits > 0 &&
                         line.compare(digits, 2, ". ") == 0 && line.size() > digits + 2;
    return is_step ? std::stoi(line) : 0;
}

bool wants_empty_lines(int id) {
    // 1170 shares the text of 1123.
    return (id >= 1100 && id <= 1153) || id == 1170 || (id >= 1500 && id <= 1510);
}

TEST(Catalogue, HoldsEveryFixedTextExactly) {
    for (const auto& [id, text] : expected_fixed_texts()) {
        EXPECT_EQ(get_message_text(id), text) << "id " << id;
    }
}

TEST(Catalogue, Holds431TextsAndNoOtherId) {
    std::set<int> expected = body_ids();
    for (const auto& [id, text] : expected_fixed_texts()) {
        expected.insert(id);
    }
    EXPECT_EQ(expected.size(), 431U);
    for (int id = -1000100; id <= 3000; ++id) {
        EXPECT_EQ(get_message_text(id) != unknown_text(id), expected.count(id) == 1) << "id " << id;
    }
}

TEST(Catalogue, AnswersForIdsThatItDoesNotHold) {
    EXPECT_EQ(IDS_PYTHON_ORIGINATED_BASE, -1000000);
    for (const int id : {0, -7, 2147483647, -2147483647 - 1, IDS_PYTHON_ORIGINATED_BASE}) {
        EXPECT_EQ(get_message_text(id), unknown_text(id));
    }
}

TEST(Catalogue, PassesEveryTextThroughTheTranslation) {
    EXPECT_EQ(get_message_text(IDS_RETRY), "Retry");
    const Translation translation(
        Translation::Texts{{"Retry", "Nochmal"}, {"UNEXPECTED_TEXT_KEY:", "Kein Text:"}});
    EXPECT_EQ(get_message_text(IDS_RETRY), "Nochmal");
    EXPECT_EQ(get_message_text(IDS_CANCEL), "Cancel"); // not translated
    EXPECT_EQ(get_message_text(42), "Kein Text:42");
}

TEST(Bodies, ExplainThemselvesInPlainCharacters) {
    for (const int id : free_body_ids()) {
        const auto text = get_message_text(id);
        EXPECT_GE(text.size(), 20U) << "id " << id;
        EXPECT_TRUE(std::all_of(text.begin(), text.end(),
                                [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); }))
            << "id " << id;
        EXPECT_EQ(text.find_first_of("<>&"), std::string::npos) << "id " << id;
        for (const char* placeholder : {"TODO", "FIXME", "XXX", "lorem", "placeholder"}) {
            EXPECT_EQ(text.find(placeholder), std::string::npos) << "id " << id;
        }
        EXPECT_EQ(step_number(split_lines(text).front()), 0) << "id " << id;
        EXPECT_LE(split_lines(text).size(), 14U) << "id " << id;
    }
}

TEST(Bodies, HaveNoStrayBlanks) {
    for (const int id : free_body_ids()) {
        const auto text = get_message_text(id);
        for (const char* stray : {"  ", " \n", "\n ", "\n\n\n"}) {
            EXPECT_EQ(text.find(stray), std::string::npos) << "id " << id;
        }
        EXPECT_NE(text.front(), '\n') << "id " << id;
        EXPECT_EQ(text.back(), '.') << "id " << id;
    }
}

TEST(Bodies, SeparateParagraphsByEmptyLinesInTheOldRangesOnly) {
    for (const int id : free_body_ids()) {
        const auto lines = split_lines(get_message_text(id));
        for (std::size_t i = 0; i < lines.size(); ++i) {
            EXPECT_EQ(lines[i].empty(), wants_empty_lines(id) && i % 2 == 1)
                << "id " << id << " line " << i + 1;
        }
    }
}

TEST(Bodies, NumberTheirStepsWithoutGaps) {
    for (const int id : free_body_ids()) {
        int last = 0;
        for (const auto& line : split_lines(get_message_text(id))) {
            const int number = step_number(line);
            if (number != 0) {
                EXPECT_EQ(number, last + 1) << "id " << id;
                last = number;
            } else {
                EXPECT_TRUE(line.empty() || last == 0) << "id " << id << " text behind the steps";
            }
        }
        EXPECT_NE(last, 1) << "id " << id << ": one step needs no number";
    }
}

// Which buttons a box has depends on the severity, not on the code.
TEST(Bodies, SendNobodyToAButtonOfTheBox) {
    for (const int id : free_body_ids()) {
        auto text = get_message_text(id);
        std::transform(text.begin(), text.end(), text.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        for (const char* button :
             {"click", "retry", "press ok", "press cancel", "select ok", "select cancel",
              "choose ok", "choose cancel", "this box", "dialog"}) {
            EXPECT_EQ(text.find(button), std::string::npos) << "id " << id << ": " << button;
        }
    }
}

TEST(Bodies, AreSharedInTheGivenGroupsOnly) {
    std::map<int, int> group_of;
    for (const auto& group : SHARED_BODIES) {
        for (const int id : group) {
            group_of[id] = group.front();
        }
    }
    std::map<std::string, int> owner;
    for (const int id : body_ids()) {
        const int group = group_of.count(id) != 0 ? group_of[id] : id;
        const auto [first, is_new] = owner.emplace(get_message_text(id), group);
        EXPECT_EQ(first->second, group) << "id " << id << " has the text of another";
        EXPECT_EQ(is_new, group == id) << "id " << id;
    }
}

TEST(Bodies, NameTheDesignToolOfTheLaserTemplates) {
    EXPECT_EQ(
        get_message_text(1252).find("There is an error in the Vexlio or image generator template."),
        0U);
    EXPECT_NE(get_message_text(1253).find("Vexlio"), std::string::npos);
}

struct Mapping {
    int code;
    int title;
    int body;

    bool operator==(const Mapping&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Mapping& row) {
    return stream << row.code << ": " << row.title << ", " << row.body;
}

Mapping as_row(const printer_error_code_mapping_entry& entry) {
    return {entry.printer_error_code, entry.title_text_message_id, entry.body_text_message_id};
}

std::vector<Mapping> expected_mapping() {
    constexpr Range by_rule[] = {{100, 153}, {166, 168}, {170, 173}, {175, 179}, {195, 225},
                                 {227, 243}, {245, 245}, {250, 277}, {300, 309}, {311, 317},
                                 {319, 320}, {322, 322}, {324, 326}, {329, 329}, {500, 503},
                                 {505, 510}, {518, 522}};
    std::vector<Mapping> rows{
        {169, 169, 2000},        {174, -999979, 2000},    {244, 244, 2000},
        {278, -999952, -999951}, {298, 298, -999975},     {310, 310, -999974},
        {318, 318, -999973},     {321, 321, -999972},     {323, 323, -999971},
        {343, -999970, -999969}, {344, -999968, -999967}, {345, -999966, -999965},
        {504, 504, 1502}};
    for (const auto& [first, last] : by_rule) {
        for (int code = first; code <= last; ++code) {
            rows.push_back({code, code, code + 1000});
        }
    }
    for (const auto& [first_id, codes] : NOT_SUPPORTED) {
        for (int code = codes.first; code <= codes.last; ++code) {
            rows.push_back({code, first_id + code - codes.first, 2000});
        }
    }
    std::sort(rows.begin(), rows.end(),
              [](const Mapping& a, const Mapping& b) { return a.code < b.code; });
    return rows;
}

TEST(ErrorCodeMapping, Has222RowsInAscendingOrder) {
    const auto expected = expected_mapping();
    const auto built = build_printer_error_code_mapping();
    EXPECT_EQ(expected.size(), 222U);
    ASSERT_EQ(built.size(), expected.size());
    for (std::size_t i = 0; i < built.size(); ++i) {
        EXPECT_EQ(as_row(built[i]), expected[i]);
    }
}

TEST(ErrorCodeMapping, FindsTheKnownCodesAndNoOther) {
    std::map<int, Mapping> expected;
    for (const auto& row : expected_mapping()) {
        expected[row.code] = row;
    }
    for (int code = -1000; code <= 3000; ++code) {
        const auto row = expected.count(code) != 0 ? expected[code] : Mapping{0, 0, 0};
        EXPECT_EQ(as_row(looked_up_printer_error_strings(code)), row) << "code " << code;
    }
}

// In a process that has looked nothing up yet: threads that all look up at once, and how many of
// them built the table, which takes memory where a look-up takes none.
int count_builders_of_the_table() {
    std::atomic<int> builders{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < Lookups::THREADS; ++i) {
        threads.emplace_back([&builders] {
            ++Lookups::begun;
            Lookups::is_under_way = true;
            const auto first = as_row(looked_up_printer_error_strings(504));
            const auto second = as_row(looked_up_printer_error_strings(100));
            Lookups::is_under_way = false;
            builders += Lookups::allocations > 0 ? 1 : 0;
            builders +=
                first == Mapping{504, 504, 1502} && second == Mapping{100, 100, 1100} ? 0 : 100;
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    return builders;
}

TEST(ErrorCodeMapping, IsBuiltOnceForAllThreads) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::_Exit(count_builders_of_the_table() == 1 ? 0 : 1), testing::ExitedWithCode(0),
                "");
}

} // namespace
