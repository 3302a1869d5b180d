#include "gui_config.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cstring>
#include <new>
#include <random>
#include <regex>
#include <sstream>
#include <thread>
#include <vector>

#include "test_support.h"

namespace {

// While set, the next allocation of a line buffer is served from here.
std::array<char, CONFIG_LINE_BUFFER_SIZE> watched_buffer;
bool watch_next_buffer = false;

std::vector<int> open_flags; // of each file opened by the program's own code

} // namespace

extern "C" int __real_open(const char* path, int flags);
extern "C" int __wrap_open(const char* path, int flags) {
    open_flags.push_back(flags);
    return __real_open(path, flags);
}
// What a fortified build calls.
extern "C" int __wrap___open_2(const char* path, int flags) {
    return __wrap_open(path, flags);
}
// The names of both where a length has more bits than an address.
extern "C" int __wrap_open64(const char* path, int flags) {
    return __wrap_open(path, flags);
}
extern "C" int __wrap___open64_2(const char* path, int flags) {
    return __wrap_open(path, flags);
}

void* operator new[](std::size_t size) {
    if (watch_next_buffer && size == watched_buffer.size()) {
        watch_next_buffer = false;
        return watched_buffer.data();
    }
    if (void* memory = std::malloc(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete[](void* memory) noexcept {
    if (memory != watched_buffer.data()) {
        std::free(memory);
    }
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    operator delete[](memory);
}

namespace {

struct Split {
    bool found = false;
    std::string name = "old name";
    std::string value = "old value";

    bool operator==(const Split&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Split& split) {
    return stream << split.found << " [" << split.name << "] [" << split.value << "]";
}

Split split(const std::string& line) {
    Split result;
    result.found = split_name_value_pair(line, result.name, result.value);
    return result;
}

Split split_by_pattern(const std::string& line) {
    static const std::regex pattern(R"(^\s*(\S+)\s*=\s*(\S+)\s*$)");
    Split result;
    std::smatch matcher;
    result.found = std::regex_search(line, matcher, pattern);
    if (result.found) {
        result.name = matcher[1];
        result.value = matcher[2];
    }
    return result;
}

std::string printable(const std::string& line) {
    std::ostringstream text;
    for (const char c : line) {
        text << (c > ' ' ? std::string(1, c) : "<" + std::to_string(+c) + ">");
    }
    return text.str();
}

std::string long_line(std::size_t length, char filler) {
    return std::string(length, filler);
}

int level_of(std::string_view content) {
    ConfigFile file(content);
    return gui_config_get_diagnostic_level();
}

constexpr std::size_t LONGEST = 1048575;

TEST(SplitNameValuePair, TakesALineApart) {
    EXPECT_EQ(split("a=b"), (Split{true, "a", "b"}));
    EXPECT_EQ(split(" \ta \t= \tb\t "), (Split{true, "a", "b"}));
    EXPECT_EQ(split("a=b\r"), (Split{true, "a", "b"}));
}

TEST(SplitNameValuePair, GivesTheNameAsMuchAsItCan) {
    EXPECT_EQ(split("a=b=c"), (Split{true, "a=b", "c"}));
    EXPECT_EQ(split("a=b="), (Split{true, "a", "b="}));
    EXPECT_EQ(split("a= =b"), (Split{true, "a=", "b"}));
    EXPECT_EQ(split("= = ="), (Split{true, "=", "="}));
}

TEST(SplitNameValuePair, EqualsThePatternForAllShortLines) {
    const std::string alphabet = "a= \r";
    std::vector<std::string> lines{""};
    for (std::size_t i = 0; i < lines.size(); ++i) {
        ASSERT_EQ(split(lines[i]), split_by_pattern(lines[i])) << printable(lines[i]);
        if (lines[i].size() < 7) {
            for (const char c : alphabet) {
                lines.push_back(lines[i] + c);
            }
        }
    }
    EXPECT_GT(lines.size(), 20000U);
}

TEST(SplitNameValuePair, EqualsThePatternForGeneratedLines) {
    const std::string alphabet("ab#=== \t\n\v\f\r\0\x80\xff", 15);
    std::mt19937 random(1753);
    for (int i = 0; i < 5000; ++i) {
        std::string line;
        for (auto length = random() % 24; length > 0; --length) {
            line += alphabet[random() % alphabet.size()];
        }
        ASSERT_EQ(split(line), split_by_pattern(line)) << printable(line);
    }
}

TEST(ReadLine, ConsumesTheLineFeedAndReturnsTheRest) {
    std::istringstream input("one\ntwo\n\nthree\n");
    EXPECT_EQ(read_line(input), "one");
    EXPECT_EQ(read_line(input), "two");
    EXPECT_EQ(read_line(input), "");
    EXPECT_TRUE(input.good());
    EXPECT_EQ(read_line(input), "three");
}

TEST(ReadLine, DoesNotReadALastLineWithoutALineFeed) {
    std::istringstream input("one\ntwo");
    EXPECT_EQ(read_line(input), "one");
    EXPECT_EQ(read_line(input), "");
    EXPECT_FALSE(input.good());
}

TEST(ReadLine, StopsAtAZeroByte) {
    std::istringstream input(std::string("a\0b\nnext\n", 9));
    EXPECT_EQ(read_line(input), "a");
    EXPECT_EQ(read_line(input), "next");
}

TEST(ReadLine, ReturnsTheLongestLineWholeAndFailsAtOneByteMore) {
    std::istringstream longest(long_line(LONGEST, 'x') + "\nnext\n");
    EXPECT_EQ(read_line(longest).size(), LONGEST);
    EXPECT_EQ(read_line(longest), "next");
    std::istringstream longer(long_line(LONGEST + 1, 'x') + "\nnext\n");
    EXPECT_EQ(read_line(longer), "");
    EXPECT_TRUE(longer.fail());
}

TEST(ReadLine, WritesNoMoreOfItsBufferThanTheLineNeeds) {
    watched_buffer.fill('\xAA');
    watch_next_buffer = true;
    std::istringstream input("abc\n");
    EXPECT_EQ(read_line(input), "abc");
    ASSERT_FALSE(watch_next_buffer) << "the line buffer was not seen";
    EXPECT_EQ(std::string(watched_buffer.data()), "abc");
    EXPECT_TRUE(std::all_of(watched_buffer.begin() + 4, watched_buffer.end(),
                            [](char c) { return c == '\xAA'; }));
}

TEST(DiagnosticLevel, Is0WithoutAFile) {
    std::remove(ConfigFile::PATH);
    EXPECT_EQ(gui_config_get_diagnostic_level(), 0);
}

TEST(DiagnosticLevel, IsReadFromItsLine) {
    for (const char* content :
         {"diagnostics.level=2\n", "diagnostics.level = 2\n", "\tdiagnostics.level\t=\t2 \t\n",
          "diagnostics.level=2\r\n", "some text\n\n=\ndiagnostics.level =2\n"}) {
        EXPECT_EQ(level_of(content), 2) << content;
    }
}

TEST(DiagnosticLevel, ComesFromTheFirstLineThatSetsIt) {
    EXPECT_EQ(level_of("diagnostics.level=2\ndiagnostics.level=1\n"), 2);
}

TEST(DiagnosticLevel, Is0WhenNoLineSetsIt) {
    for (const char* content :
         {"", "diagnostics.level=2 # remark\n", "#diagnostics.level=2\n", "# diagnostics.level=2\n",
          "Diagnostics.level=2\n", "diagnostics.level=\n", "diagnostics.level=x\n",
          "diagnostics.level 2\n", "diagnostics.levels=2\n", "a=diagnostics.level=2\n"}) {
        EXPECT_EQ(level_of(content), 0) << content;
    }
}

TEST(DiagnosticLevel, DoesNotReadALastLineWithoutALineFeed) {
    EXPECT_EQ(level_of("diagnostics.level=2"), 0);
}

TEST(DiagnosticLevel, EqualsWhatAStringStreamReads) {
    for (const std::string sign : {"", "+", "-", "++", "+-", "-+", "--"}) {
        for (const std::string digits : {"", "0", "7", "010", "12abc", "0x10", "1e3", "2147483647",
                                         "2147483648", "2147483649", "99999999999", "abc", "."}) {
            std::istringstream parser(sign + digits);
            int value = 0;
            const int expected = parser >> value ? value : 0;
            EXPECT_EQ(level_of("diagnostics.level=" + sign + digits + "\n"), expected)
                << sign + digits;
        }
    }
}

TEST(DiagnosticLevel, SurvivesTheLongestLineBeforeIt) {
    for (const char filler : {' ', 'x', '='}) {
        EXPECT_EQ(level_of(long_line(LONGEST, filler) + "\ndiagnostics.level=2\n"), 2) << filler;
        EXPECT_EQ(level_of(long_line(LONGEST + 1, filler) + "\ndiagnostics.level=2\n"), 0)
            << filler;
    }
}

TEST(DiagnosticLevel, SurvivesTheLongestLineOnAnotherThread) {
    ConfigFile file("a" + long_line(LONGEST - 2, '=') + "b\ndiagnostics.level=2\n");
    int level = 0;
    std::thread([&level] { level = gui_config_get_diagnostic_level(); }).join();
    EXPECT_EQ(level, 2);
}

TEST(DiagnosticLevel, Is0ForWhatCannotBeRead) {
    ASSERT_EQ(mkdir(ConfigFile::PATH, 0700), 0);
    EXPECT_EQ(gui_config_get_diagnostic_level(), 0);
    std::remove(ConfigFile::PATH);
}

TEST(ReadConfigSetting, ReturnsTheRawValueOfAnyKey) {
    ConfigFile file("colour = blue\nempty =\na=b = c\n");
    EXPECT_EQ(read_config_setting("colour"), "blue");
    EXPECT_EQ(read_config_setting("a=b"), "c");
    EXPECT_EQ(read_config_setting("empty"), "");
    EXPECT_EQ(read_config_setting("Colour"), "");
    EXPECT_EQ(read_config_int_setting("colour", 7), 7);
    EXPECT_EQ(read_config_int_setting("absent", -7), -7);
}

TEST(ReadConfigSetting, LeavesNoFileOpenToAProgramThatIsStartedMeanwhile) {
    ConfigFile file("colour = blue\n");
    open_flags.clear();
    EXPECT_EQ(read_config_setting("colour"), "blue");
    ASSERT_EQ(open_flags.size(), 1U);
    EXPECT_NE(open_flags[0] & O_CLOEXEC, 0);
}

TEST(ReadConfigSetting, SeesAnEditedFileAtTheNextRequest) {
    ConfigFile file("diagnostics.level=1\n");
    EXPECT_EQ(gui_config_get_diagnostic_level(), 1);
    ConfigFile::write("diagnostics.level=2\n");
    EXPECT_EQ(gui_config_get_diagnostic_level(), 2);
    ConfigFile::replace("diagnostics.level=3\n");
    EXPECT_EQ(gui_config_get_diagnostic_level(), 3);
}

} // namespace
