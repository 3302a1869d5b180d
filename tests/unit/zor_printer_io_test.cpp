#include "zor_printer_io.h"

#include <sys/mman.h>

#include <atomic>
#include <fstream>
#include <new>
#include <optional>

#include <gmock/gmock.h>

#include "fake_peer.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

bool operator==(const ZORPrinterError& left, const ZORPrinterError& right) {
    return left.gui_action_code == right.gui_action_code &&
           left.printer_name == right.printer_name && left.printer_job_id == right.printer_job_id &&
           left.error_code == right.error_code && left.error_string == right.error_string &&
           left.error_severity == right.error_severity && left.service_code == right.service_code;
}

std::ostream& operator<<(std::ostream& stream, const ZORPrinterError& error) {
    return stream << (error.gui_action_code == SHOW_ERROR ? "show [" : "remove [")
                  << error.printer_name << "] [" << error.printer_job_id << "] ["
                  << error.error_code << "] [" << error.error_string << "] ["
                  << error.error_severity << "] [" << error.service_code << "]";
}

namespace {

using namespace std::string_literals;

const std::string STATUS_REQUEST = "{{get-published-info}}";

const std::string SHORT_DOCUMENT = "<PrinterStatus><PrinterName>P1</PrinterName>"
                                   "<ErrorCode>105</ErrorCode></PrinterStatus>";

class ClientTest : public testing::Test {
protected:
    void SetUp() override { SyslogCapture::clear(); }
};

class LoggedClientTest : public ClientTest {
protected:
    ConfigFile config{"diagnostics.level = 2\n"};
};

ZORPrinterError make_error(const std::string& printer_name, const std::string& error_code = "") {
    ZORPrinterError error;
    error.gui_action_code = SHOW_ERROR;
    error.printer_name = printer_name;
    error.error_code = error_code;
    return error;
}

std::string concatenated(const std::vector<std::string>& texts) {
    std::string all;
    for (const auto& text : texts) {
        all += text;
    }
    return all;
}

// The exchange against a service that answers with these bytes as they are.
std::string exchange_with(const std::string& answer, const std::string& command = "command") {
    FakePeer peer(answer_with_bytes(answer));
    return execute_printer_op(command);
}

std::string exchange_and_take_text() {
    return thrown_text([] { execute_printer_op("command"); });
}

// History entries of one connection to the service, by its name in the history.
std::vector<std::string> opening_of(const std::string& name) {
    return {
        "gui_socket.cpp GUISocket begin",
        "* inet_pton(AF_INET, 127.0.0.1)",
        "* socket(AF_INET, SOCK_STREAM, 0)",
        "* connect(" + name + ", AF_INET 127.0.0.1:1753)",
        "gui_socket.cpp GUISocket end",
        "* setsockopt(" + name + ", SO_RCVTIMEO, 15.000000)",
        "* setsockopt(" + name + ", SO_SNDTIMEO, 1.000000)",
    };
}

std::vector<std::string> closing_of(const std::string& name, bool is_built = true) {
    std::vector<std::string> entries;
    if (is_built) {
        entries = {"gui_socket.cpp ~GUISocket begin", "gui_socket.cpp ~GUISocket end"};
    }
    return joined({entries,
                   {"gui_socket.cpp ~my_data_members begin", "* close(" + name + ")",
                    "gui_socket.cpp ~my_data_members close_result=0",
                    "gui_socket.cpp ~my_data_members end"}});
}

// History entries of a whole exchange with a reply that is not empty.
std::vector<std::string> exchange_of(const std::string& name, const std::string& command,
                                     const std::string& reply) {
    const std::string own = "zor_printer_io.cpp execute_printer_op ";
    const auto transfer = [&name](const std::string& call, std::size_t size) {
        return "* " + call + "(" + name + ", " + std::to_string(size) + ", 0)";
    };
    return joined(
        {{own + "begin; command=" + command},
         opening_of(name),
         {transfer("send", 8), transfer("send", command.size()), own + "reading reply length",
          transfer("recv", 8), own + "read reply length=" + std::to_string(reply.size()),
          own + "reading reply bytes", transfer("recv", reply.size()), own + "read reply bytes",
          own + "end; reply_text=" + reply},
         closing_of(name)});
}

} // namespace

// ---- Records ------------------------------------------------------------------------------------

TEST(PrinterRecords, UnfilledErrorIsARemovalWithoutTexts) {
    const ZORPrinterError error;
    EXPECT_EQ(error.gui_action_code, REMOVE_ERROR);
    for (const auto* text : {&error.printer_name, &error.printer_job_id, &error.error_code,
                             &error.error_string, &error.error_severity, &error.service_code}) {
        EXPECT_EQ(*text, "");
    }
    EXPECT_EQ(static_cast<int>(SHOW_ERROR), 0);
    EXPECT_EQ(static_cast<int>(REMOVE_ERROR), 1);
    EXPECT_EQ(ZORPrinterStatus().raw_status_text, "");
    EXPECT_THAT(ZORPrinterStatus().errors, IsEmpty());
}

TEST(PrinterRecords, CopyOfAStatusIsItsOwn) {
    ZORPrinterStatus source;
    source.raw_status_text = "raw";
    source.errors = {make_error("P1", "0042")};
    ZORPrinterStatus copy = source;
    EXPECT_EQ(copy.raw_status_text, "raw");
    EXPECT_THAT(copy.errors, ElementsAre(make_error("P1", "0042")));
    copy.errors[0].printer_name = "P2";
    copy.raw_status_text += "er";
    copy.errors.push_back(make_error("P3"));
    EXPECT_EQ(source.raw_status_text, "raw");
    EXPECT_THAT(source.errors, ElementsAre(make_error("P1", "0042")));
}

// ---- Exchange: the request ----------------------------------------------------------------------

namespace {

// All bytes that the client sends for a command until it closes, or waits for the reply.
std::string bytes_sent_for(const std::string& command) {
    std::string bytes;
    FakePeer peer([&](FakePeer& self) {
        auto connection = self.accept();
        bytes = connection.receive_frame();
        EXPECT_TRUE(connection.is_silent());
        connection.send(frame("reply"));
        bytes += connection.receive_rest();
        EXPECT_FALSE(self.has_connection());
    });
    EXPECT_EQ(execute_printer_op(command), "reply");
    peer.finish();
    return bytes;
}

} // namespace

TEST_F(ClientTest, RequestIsItsLengthAndItsBytes) {
    EXPECT_EQ(bytes_sent_for("abcdefghijklmnopqrstuv"),
              "\x16\0\0\0\0\0\0\0abcdefghijklmnopqrstuv"s);
}

TEST_F(ClientTest, EmptyRequestIsEightZeroBytes) {
    EXPECT_EQ(bytes_sent_for(""), "\0\0\0\0\0\0\0\0"s);
}

TEST_F(ClientTest, LengthGoesOutLeastSignificantByteFirst) {
    const std::string command(0x010203, 'x');
    EXPECT_TRUE(bytes_sent_for(command) == "\x03\x02\x01\0\0\0\0\0"s + command);
}

TEST_F(ClientTest, RequestKeepsEveryByte) {
    std::string command;
    for (int i = 0; i < 512; ++i) {
        command += static_cast<char>(i);
    }
    EXPECT_EQ(bytes_sent_for(command), "\0\x02\0\0\0\0\0\0"s + command);
}

// ---- Exchange: the reply ------------------------------------------------------------------------

TEST_F(ClientTest, ReplyComesBackByteForByte) {
    std::string every_byte;
    for (int i = 0; i < 256; ++i) {
        every_byte += static_cast<char>(i);
    }
    for (const auto& reply : {"reply"s, "a\0b\0"s, "\0"s, every_byte, std::string(0x10203, 'r'),
                              std::string(1 << 20, '\0')}) {
        EXPECT_TRUE(exchange_with(frame(reply)) == reply) << "reply of " << reply.size();
    }
}

TEST_F(ClientTest, NothingIsReadBehindTheReply) {
    EXPECT_EQ(exchange_with("\x03\0\0\0\0\0\0\0abcdef"s), "abc");
    EXPECT_EQ(exchange_with("\0\0\0\0\0\0\0\0abcdef"s), "");
}

TEST_F(ClientTest, ReplyOfLengthZeroIsTheEmptyText) {
    FakePeer peer([](FakePeer& self) {
        auto connection = self.accept();
        connection.receive_frame();
        connection.send(length_prefix(0));
    });
    EXPECT_EQ(execute_printer_op("command"), "");
}

TEST_F(ClientTest, ReplyMayTrickle) {
    FakePeer peer([](FakePeer& self) {
        auto connection = self.accept();
        connection.receive_frame();
        for (const char byte : frame("byte by byte")) {
            connection.send({byte});
            std::this_thread::yield();
        }
        connection.receive_rest();
    });
    ClientCalls calls;
    // A byte at a time, also where the bytes arrive together.
    calls.recv = [](int handle, void* data, std::size_t size, int flags) {
        return __real_recv(handle, data, std::min(size, std::size_t{1}), flags);
    };
    EXPECT_EQ(execute_printer_op("command"), "byte by byte");
}

TEST_F(ClientTest, ReplyMayComeInOneSegmentOrSeveral) {
    EXPECT_EQ(exchange_with(frame("one segment")), "one segment");
    FakePeer peer([](FakePeer& self) {
        auto connection = self.accept();
        connection.receive_frame();
        connection.send(length_prefix(8).substr(0, 3));
        connection.send(length_prefix(8).substr(3) + "sev");
        connection.send("eral.");
        connection.receive_rest();
    });
    EXPECT_EQ(execute_printer_op("command"), "several.");
}

TEST_F(ClientTest, ReplyThatStopsHalfWayIsAnEmptyReceive) {
    for (const auto& answer :
         {""s, "\x64\0\0"s, length_prefix(100), length_prefix(100) + std::string(40, 'x'),
          length_prefix(100) + std::string(99, 'x')}) {
        FakePeer peer([&answer](FakePeer& self) {
            auto connection = self.accept();
            connection.receive_frame();
            connection.send(answer);
        });
        EXPECT_EQ(exchange_and_take_text(), "Empty receive.") << answer.size();
    }
}

TEST_F(ClientTest, BrokenConnectionIsAFailedReceive) {
    FakePeer peer([](FakePeer& self) {
        auto connection = self.accept();
        connection.receive_frame();
        connection.reset();
    });
    EXPECT_EQ(exchange_and_take_text(), "Receive failed.");
}

TEST_F(ClientTest, NobodyListeningIsAFailedConnect) {
    EXPECT_EQ(exchange_and_take_text(), "Failed to connect socket.");
    EXPECT_EQ(thrown_text([] { open_socket_to_local_printer_service(); }),
              "Failed to connect socket.");
    EXPECT_EQ(thrown_text([] { get_updated_printer_status(nullptr); }),
              "Failed to connect socket.");
    EXPECT_EQ(thrown_text([] { execute_printer_job_command("P1", "17", "105", 100); }),
              "Failed to connect socket.");
}

// ---- Exchange: time-outs ------------------------------------------------------------------------

TEST_F(ClientTest, ConnectionToTheServiceHasItsTimeOuts) {
    FakePeer peer([](FakePeer& self) { EXPECT_EQ(self.accept().receive_rest(), ""); });
    ClientCalls calls;
    const auto socket = open_socket_to_local_printer_service();
    timeval time{};
    socklen_t size = sizeof time;
    ASSERT_EQ(getsockopt(calls.latest_handle(), SOL_SOCKET, SO_RCVTIMEO, &time, &size), 0);
    EXPECT_EQ(time.tv_sec, 15);
    EXPECT_EQ(time.tv_usec, 0);
    ASSERT_EQ(getsockopt(calls.latest_handle(), SOL_SOCKET, SO_SNDTIMEO, &time, &size), 0);
    EXPECT_EQ(time.tv_sec, 1);
    EXPECT_EQ(time.tv_usec, 0);
}

TEST_F(ClientTest, ServiceThatDoesNotGoOnIsAFailedReceive) {
    for (const auto& answer : {""s, "\x64\0\0"s, length_prefix(100), length_prefix(100) + "x"}) {
        std::atomic<bool> is_over = false;
        FakePeer peer([&](FakePeer& self) {
            auto connection = self.accept();
            connection.receive_frame();
            connection.send(answer);
            EXPECT_TRUE(wait_until([&] { return is_over.load(); }));
        });
        ClientCalls calls;
        // The clock of this test runs a hundred times as fast: 15 s are 150 ms.
        calls.setsockopt = [](int handle, int level, int option, const void* value,
                              socklen_t size) {
            auto time = *static_cast<const timeval*>(value);
            time.tv_usec = (time.tv_usec + time.tv_sec * 1000000) / 100;
            time.tv_sec = 0;
            return __real_setsockopt(handle, level, option, &time, size);
        };
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(exchange_and_take_text(), "Receive failed.") << answer.size();
        const auto duration = std::chrono::steady_clock::now() - start;
        EXPECT_GE(duration, std::chrono::milliseconds(145));
        EXPECT_LT(duration, scaled(std::chrono::seconds(5)));
        is_over = true;
    }
}

TEST_F(ClientTest, ServiceThatNeverReadsIsAFailedWrite) {
    std::atomic<bool> is_over = false;
    FakePeer peer([&](FakePeer& self) {
        const auto connection = self.accept();
        EXPECT_TRUE(wait_until([&] { return is_over.load(); }));
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(thrown_text([] { execute_printer_op(std::string(32 << 20, 'x')); }),
              "Failed writing to socket.");
    const auto duration = std::chrono::steady_clock::now() - start;
    EXPECT_GE(duration, std::chrono::milliseconds(990));
    // A few calls take what there is room for, each with a second of its own.
    EXPECT_LT(duration, scaled(std::chrono::seconds(9)));
    is_over = true;
}

TEST_F(ClientTest, RefusedTimeOutEndsTheExchangeBeforeItBegins) {
    FakePeer peer([](FakePeer& self) { EXPECT_EQ(self.accept().receive_rest(), ""); });
    ClientCalls calls;
    calls.setsockopt = [](int, int, int, const void*, socklen_t) {
        return -1;
    };
    EXPECT_EQ(exchange_and_take_text(), "Failed to set socket timeout to 15000.");
}

// ---- Exchange: lengths that lie -----------------------------------------------------------------

namespace {

// A figure of /proc/self/status in KiB.
std::size_t memory_figure(const std::string& name) {
    std::ifstream status("/proc/self/status");
    std::string word;
    std::size_t value = 0;
    while (status >> word) {
        if (word == name + ":" && status >> value) {
            return value;
        }
    }
    throw std::runtime_error("no " + name + " in /proc/self/status");
}

// The size, or the largest power of two times less that this machine grants at all.
std::size_t grantable(std::size_t size) {
    while (true) {
        void* start =
            mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (start != MAP_FAILED) {
            munmap(start, size);
            return size;
        }
        size /= 2;
    }
}

} // namespace

TEST_F(LoggedClientTest, LengthBeyondMemoryFailsAtOnceAndIsLoggedWithASign) {
    if (HAS_SANITIZER_ALLOCATOR) {
        GTEST_SKIP() << "the allocator of a sanitizer ends the process for such a length";
    }
    struct Row {
        std::uint64_t length;
        const char* logged;
    };
    for (const auto& row : {
             Row{UINT64_MAX, "-1"},
             Row{1ULL << 63, "-9223372036854775808"},
             Row{(1ULL << 63) - 1, "9223372036854775807"},
             Row{1ULL << 62, "4611686018427387904"},
         }) {
        SyslogCapture::clear();
        FakePeer peer(answer_with_bytes(length_prefix(row.length) + "text"));
        ClientCalls calls;
        EXPECT_THROW(execute_printer_op("command"), std::bad_alloc) << row.logged;
        EXPECT_THAT(
            history(),
            ElementsAreArray(joined(
                {{"zor_printer_io.cpp execute_printer_op begin; command=command"},
                 opening_of("#1"),
                 {"* send(#1, 8, 0)", "* send(#1, 7, 0)",
                  "zor_printer_io.cpp execute_printer_op reading reply length", "* recv(#1, 8, 0)",
                  "zor_printer_io.cpp execute_printer_op read reply length="s + row.logged},
                 closing_of("#1")})));
    }
}

TEST_F(ClientTest, LengthIsNotCutToTheWidthOfTheMachine) {
    if (HAS_SANITIZER_ALLOCATOR) {
        GTEST_SKIP() << "the allocator of a sanitizer takes memory of its own for such a length";
    }
    constexpr std::uint64_t two_to_32 = 1ULL << 32;
    for (const std::uint64_t length : {two_to_32, two_to_32 + 5, 2 * two_to_32 + 5}) {
        FakePeer peer([length](FakePeer& self) {
            auto connection = self.accept();
            connection.receive_frame();
            connection.send(length_prefix(length) + "hello");
        });
        if (HAS_32_BITS) {
            EXPECT_THROW(execute_printer_op("command"), std::bad_alloc) << length;
        } else {
            EXPECT_EQ(exchange_and_take_text(), "Empty receive.") << length;
        }
    }
}

TEST_F(ClientTest, LengthThatIsNeverDeliveredTakesNoMemory) {
    if (HAS_SANITIZER_ALLOCATOR) {
        GTEST_SKIP() << "the allocator of a sanitizer takes memory of its own for such a length";
    }
    // With 32 bits no array takes more than half of the 4 GiB.
    constexpr std::size_t wanted_gibibytes = HAS_32_BITS ? 1 : 20;
    const auto length = grantable(wanted_gibibytes << 30);
    ASSERT_GE(length, std::size_t{512} << 20);
    const auto peak_before = memory_figure("VmHWM");
    std::atomic<bool> waits_for_text = false;
    FakePeer peer([&](FakePeer& self) {
        auto connection = self.accept();
        connection.receive_frame();
        connection.send(length_prefix(length) + std::string(1000, 'x'));
        EXPECT_TRUE(wait_until([&] {
            if (memory_figure("VmRSS") > peak_before + (256 << 10)) {
                // Now, before the machine runs out of memory for it.
                std::fputs("FAILED: the promised text takes memory\n", stderr);
                std::_Exit(1);
            }
            return waits_for_text.load();
        }));
    });
    ClientCalls calls;
    calls.recv = [&](int handle, void* data, std::size_t size, int flags) {
        waits_for_text = size > 8;
        return __real_recv(handle, data, size, flags);
    };
    EXPECT_EQ(exchange_and_take_text(), "Empty receive.");
    EXPECT_LT(memory_figure("VmHWM"), peak_before + (64 << 10));
}

// ---- Exchange: log and threads ------------------------------------------------------------------

TEST_F(LoggedClientTest, ExchangeGoesStepByStep) {
    FakePeer peer(answer_with_bytes(frame("the %s reply")));
    ClientCalls calls;
    execute_printer_op("a %n command\n");
    EXPECT_THAT(history(), ElementsAreArray(exchange_of("#1", "a %n command\n", "the %s reply")));
}

TEST_F(LoggedClientTest, EmptyReplyEndsTheExchangeWithoutAnotherLine) {
    FakePeer peer(answer_with_bytes(length_prefix(0)));
    ClientCalls calls;
    execute_printer_op("");
    EXPECT_THAT(
        history(),
        ElementsAreArray(joined(
            {{"zor_printer_io.cpp execute_printer_op begin; command="},
             opening_of("#1"),
             {"* send(#1, 8, 0)", "zor_printer_io.cpp execute_printer_op reading reply length",
              "* recv(#1, 8, 0)", "zor_printer_io.cpp execute_printer_op read reply length=0"},
             closing_of("#1")})));
}

TEST_F(LoggedClientTest, FailedConnectEndsTheExchangeAfterItsFirstLine) {
    ClientCalls calls;
    exchange_and_take_text();
    auto opening = opening_of("#1");
    opening.resize(4);
    EXPECT_THAT(history(), ElementsAreArray(joined(
                               {{"zor_printer_io.cpp execute_printer_op begin; command=command"},
                                opening,
                                closing_of("#1", false)})));
}

TEST_F(LoggedClientTest, HalfReplyEndsTheExchangeWhileReading) {
    FakePeer peer([](FakePeer& self) {
        auto connection = self.accept();
        connection.receive_frame();
        connection.send(length_prefix(5));
    });
    ClientCalls calls;
    exchange_and_take_text();
    auto expected = exchange_of("#1", "command", "12345");
    const auto closing = closing_of("#1");
    expected.resize(expected.size() - closing.size() - 2); // the two lines behind recv
    EXPECT_THAT(history(), ElementsAreArray(joined({expected, closing})));
}

TEST_F(LoggedClientTest, ExchangesOfSeveralThreadsOverlap) {
    constexpr std::size_t THREADS = 8;
    FakePeer peer([](FakePeer& self) {
        std::vector<PeerConnection> connections;
        std::vector<std::string> requests;
        for (std::size_t i = 0; i < THREADS; ++i) {
            connections.push_back(self.accept());
            requests.push_back(connections.back().receive_frame());
        }
        for (std::size_t i = THREADS; i-- > 0;) {
            connections[i].send(requests[i]);
        }
        for (auto& connection : connections) {
            connection.receive_rest();
        }
    });
    std::vector<std::string> replies(THREADS);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < THREADS; ++i) {
        threads.emplace_back([&reply = replies[i], i] {
            try {
                reply = execute_printer_op("request " + std::to_string(i));
            } catch (const std::runtime_error& ex) {
                reply = ex.what();
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    for (std::size_t i = 0; i < THREADS; ++i) {
        EXPECT_EQ(replies[i], "request " + std::to_string(i));
    }
}

TEST(SafeBuildString, TakesNullForTheEmptyText) {
    EXPECT_EQ(safe_build_string(nullptr), "");
    EXPECT_EQ(safe_build_string(""), "");
    EXPECT_EQ(safe_build_string("abc"), "abc");
    EXPECT_EQ(safe_build_string("ab\0c"), "ab");
}

// ---- Status request -----------------------------------------------------------------------------

namespace {

// Takes a status request on the second connection and answers it.
FakePeer::Script answer_status_request(const std::string& reply, std::string& request) {
    return [&request, reply](FakePeer& peer) {
        auto silent = peer.accept();
        auto exchange = peer.accept();
        request = exchange.receive_frame();
        EXPECT_TRUE(exchange.is_silent());
        exchange.send(frame(reply));
        EXPECT_EQ(exchange.receive_rest(), "");
        EXPECT_EQ(silent.receive_rest(), "");
        EXPECT_FALSE(peer.has_connection());
    };
}

struct StatusExchange {
    std::string request; // with its prefix
    ZORPrinterStatus status;
};

StatusExchange ask_for_status(const ZORPrinterStatus* prior, const std::string& reply) {
    StatusExchange result;
    FakePeer peer(answer_status_request(reply, result.request));
    result.status = get_updated_printer_status(prior);
    peer.finish();
    return result;
}

ZORPrinterStatus make_status(const std::string& raw_status_text) {
    ZORPrinterStatus status;
    status.raw_status_text = raw_status_text;
    return status;
}

} // namespace

TEST_F(ClientTest, FirstStatusRequestIsTheOperationAlone) {
    const auto result = ask_for_status(nullptr, SHORT_DOCUMENT);
    EXPECT_EQ(result.request, "\x16\0\0\0\0\0\0\0{{get-published-info}}"s);
    EXPECT_EQ(result.status.raw_status_text, SHORT_DOCUMENT);
    EXPECT_THAT(result.status.errors, ElementsAre(make_error("P1", "105")));
}

TEST_F(ClientTest, LaterStatusRequestHasThePreviousTextBehindTheOperation) {
    for (const auto& previous : {SHORT_DOCUMENT, "<a>&amp;\n</a> "s, "\0with\0zeros\0"s,
                                 "\xEF\xBB\xBF\xFF\x80"s, std::string(1 << 20, 'p')}) {
        const auto prior = make_status(previous);
        const auto result = ask_for_status(&prior, SHORT_DOCUMENT);
        EXPECT_TRUE(result.request == frame(STATUS_REQUEST + previous)) << previous.substr(0, 80);
    }
}

TEST_F(ClientTest, OnlyTheRawTextOfThePreviousStatusCounts) {
    auto prior = make_status("raw");
    prior.errors = {make_error("P1", "105"), make_error("P2")};
    EXPECT_EQ(ask_for_status(&prior, "").request, frame(STATUS_REQUEST + "raw"));
    EXPECT_EQ(prior.raw_status_text, "raw");
    EXPECT_THAT(prior.errors, ElementsAre(make_error("P1", "105"), make_error("P2")));
}

TEST_F(LoggedClientTest, EmptyReplyIsAStatusAfterWhichTheOperationStandsAlone) {
    const auto prior = make_status("previous");
    const auto result = ask_for_status(&prior, "");
    EXPECT_EQ(result.status.raw_status_text, "");
    EXPECT_THAT(result.status.errors, IsEmpty());
    EXPECT_THAT(log_lines(),
                testing::Contains("zor_printer_io.cpp parse_printer_status no root element"));
    EXPECT_EQ(ask_for_status(&result.status, "").request, frame(STATUS_REQUEST));
}

TEST_F(ClientTest, ReplyWithZeroBytesGoesBackWhole) {
    const auto reply = SHORT_DOCUMENT + "\0<tail\0"s;
    const auto first = ask_for_status(nullptr, reply);
    EXPECT_EQ(first.status.raw_status_text, reply);
    EXPECT_THAT(first.status.errors, ElementsAre(make_error("P1", "105")));
    EXPECT_EQ(ask_for_status(&first.status, "").request, frame(STATUS_REQUEST + reply));
}

TEST_F(ClientTest, SameReplyIsParsedAgain) {
    const auto prior = make_status(SHORT_DOCUMENT);
    EXPECT_THAT(ask_for_status(&prior, SHORT_DOCUMENT).status.errors,
                ElementsAre(make_error("P1", "105")));
}

TEST_F(ClientTest, SilentConnectionIsOpenAroundTheExchange) {
    std::atomic<bool> is_checked = false;
    FakePeer peer([&](FakePeer& self) {
        auto silent = self.accept();
        auto exchange = self.accept();
        EXPECT_TRUE(silent.is_silent()) << "before the request";
        exchange.receive_frame();
        EXPECT_TRUE(silent.is_silent()) << "during the exchange";
        exchange.send(frame(SHORT_DOCUMENT));
        EXPECT_EQ(exchange.receive_rest(), "");
        EXPECT_TRUE(silent.is_silent()) << "after the exchange";
        is_checked = true;
        EXPECT_EQ(silent.receive_rest(), "");
    });
    ClientCalls calls;
    int closed = 0;
    calls.close = [&](int handle) {
        // The peer looks while the second one to be closed is still open.
        if (++closed == 2) {
            EXPECT_TRUE(wait_until([&] { return is_checked.load(); }));
        }
        return __real_close(handle);
    };
    get_updated_printer_status(nullptr);
    EXPECT_EQ(closed, 2);
}

TEST_F(LoggedClientTest, StatusRequestGoesStepByStep) {
    std::string request;
    FakePeer peer(answer_status_request(SHORT_DOCUMENT, request));
    ClientCalls calls;
    const auto prior = make_status("<previous/>");
    get_updated_printer_status(&prior);
    const std::string own = "zor_printer_io.cpp get_updated_printer_status ";
    const std::string parser = "zor_printer_io.cpp parse_printer_status ";
    EXPECT_THAT(
        history(),
        ElementsAreArray(joined(
            {{own + "begin"},
             opening_of("#1"),
             {own + "soc created"},
             exchange_of("#2", "{{get-published-info}}<previous/>", SHORT_DOCUMENT),
             {parser + "begin; text=" + SHORT_DOCUMENT, parser + "top element name: PrinterStatus",
              parser + "    Handling field: PrinterName=P1.",
              parser + "    Handling field: ErrorCode=105.", parser + "end; num errors=1",
              own + "end; status_text=" + SHORT_DOCUMENT},
             closing_of("#1")})));
}

TEST_F(LoggedClientTest, StatusRequestIsSilentBelowTheVerboseLevel) {
    ConfigFile::write("diagnostics.level = 1\n");
    ask_for_status(nullptr, SHORT_DOCUMENT);
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(LoggedClientTest, FailureOfTheSilentConnectionSendsNoRequest) {
    ClientCalls calls;
    EXPECT_EQ(thrown_text([] { get_updated_printer_status(nullptr); }),
              "Failed to connect socket.");
    auto opening = opening_of("#1");
    opening.resize(4);
    EXPECT_THAT(history(),
                ElementsAreArray(joined({{"zor_printer_io.cpp get_updated_printer_status begin"},
                                         opening,
                                         closing_of("#1", false)})));
}

TEST_F(LoggedClientTest, FailureOfTheExchangeClosesBothConnections) {
    FakePeer peer([](FakePeer& self) {
        auto silent = self.accept();
        auto exchange = self.accept();
        exchange.receive_frame();
        exchange.send(length_prefix(100) + std::string(40, 'x'));
        exchange.close();
        EXPECT_EQ(silent.receive_rest(), "");
    });
    ClientCalls calls;
    EXPECT_EQ(thrown_text([] { get_updated_printer_status(nullptr); }), "Empty receive.");
    const auto entries = history();
    const auto expected_end = joined({closing_of("#2"), closing_of("#1")});
    ASSERT_GT(entries.size(), expected_end.size());
    EXPECT_THAT(
        std::vector<std::string>(entries.end() - static_cast<std::ptrdiff_t>(expected_end.size()),
                                 entries.end()),
        ElementsAreArray(expected_end));
}

// ---- Status document ----------------------------------------------------------------------------

namespace {

struct ParseRow {
    const char* what;
    std::string document;
    std::optional<ZORPrinterError> error;
};

// A document of one error: these are the children of its root.
std::string status_of(const std::string& children) {
    return "<PrinterStatus>" + children + "</PrinterStatus>";
}

// The same with the name P1 and then an error string of this content.
std::string string_of(const std::string& content) {
    return status_of("<PrinterName>P1</PrinterName><ErrorString>" + content + "</ErrorString>");
}

ZORPrinterError make_error_with_string(const std::string& error_string) {
    auto error = make_error("P1");
    error.error_string = error_string;
    return error;
}

ZORPrinterError make_removal(const std::string& printer_name, const std::string& error_code) {
    auto error = make_error(printer_name, error_code);
    error.gui_action_code = REMOVE_ERROR;
    return error;
}

void expect_parsed(const std::vector<ParseRow>& rows) {
    for (const auto& row : rows) {
        const auto status = parse_printer_status(row.document);
        EXPECT_TRUE(status.raw_status_text == row.document) << row.what;
        const auto expected = row.error ? std::vector{*row.error} : std::vector<ZORPrinterError>();
        EXPECT_THAT(status.errors, ElementsAreArray(expected)) << row.what;
    }
}

std::string repeated(const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

const std::string P1_105 = "<PrinterName>P1</PrinterName><ErrorCode>105</ErrorCode>";

const std::string FULL_DOCUMENT = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                  "<PrinterStatus>\n"
                                  "    <PrinterName>Front desk</PrinterName>\n"
                                  "    <PrinterJobID>17</PrinterJobID>\n"
                                  "    <ErrorCode>0042</ErrorCode>\n"
                                  "    <ErrorString>Ribbon out</ErrorString>\n"
                                  "    <ErrorSeverity>3</ErrorSeverity>\n"
                                  "    <ServiceCode>S-9</ServiceCode>\n"
                                  "    <PrinterState>busy</PrinterState>\n"
                                  "</PrinterStatus>";

ZORPrinterError make_full_error() {
    ZORPrinterError error;
    error.gui_action_code = SHOW_ERROR;
    error.printer_name = "Front desk";
    error.printer_job_id = "17";
    error.error_code = "0042";
    error.error_string = "Ribbon out";
    error.error_severity = "3";
    error.service_code = "S-9";
    return error;
}

} // namespace

TEST_F(ClientTest, ParsesEveryFieldAsText) {
    expect_parsed({
        {"all fields", FULL_DOCUMENT, make_full_error()},
        {"two fields", status_of(P1_105), make_error("P1", "105")},
    });
}

TEST_F(ClientTest, RootSaysWhetherTheErrorIsShown) {
    expect_parsed({
        {"removal", "<RemovePrinterError>" + P1_105 + "</RemovePrinterError>",
         make_removal("P1", "105")},
        {"unknown root", "<Status>" + P1_105 + "</Status>", make_error("P1", "105")},
        {"root in other case", "<removeprintererror>" + P1_105 + "</removeprintererror>",
         make_error("P1", "105")},
        {"longer root", "<RemovePrinterErrors>" + P1_105 + "</RemovePrinterErrors>",
         make_error("P1", "105")},
        {"root with a prefix", "<x:RemovePrinterError>" + P1_105 + "</x:RemovePrinterError>",
         make_error("P1", "105")},
    });
}

TEST_F(ClientTest, ErrorWithoutAPrinterNameIsNone) {
    expect_parsed({
        {"no name", status_of("<PrinterState>s</PrinterState><ErrorCode>105</ErrorCode>"), {}},
        {"empty name", status_of("<PrinterName></PrinterName><ErrorCode>105</ErrorCode>"), {}},
        {"closed name", status_of("<PrinterName/><ErrorCode>105</ErrorCode>"), {}},
        {"name holds an element", status_of("<PrinterName><b>P1</b></PrinterName>"), {}},
        {"removal", "<RemovePrinterError><ErrorCode>105</ErrorCode></RemovePrinterError>", {}},
        {"empty root", "<PrinterStatus/>", {}},
        {"name in another element", status_of("<Other><PrinterName>P1</PrinterName></Other>"), {}},
        {"name as an attribute", "<PrinterStatus PrinterName='P1'/>", {}},
        {"name in other case", status_of("<printername>P1</printername>"), {}},
        {"name with a prefix", status_of("<x:PrinterName>P1</x:PrinterName>"), {}},
        {"root is the name", "<PrinterName>P1</PrinterName>", {}},
    });
}

TEST_F(ClientTest, OfTwoFieldsTheLaterCounts) {
    expect_parsed({
        {"name", status_of("<PrinterName>P1</PrinterName><PrinterName>P2</PrinterName>"),
         make_error("P2")},
        {"empty name later", status_of("<PrinterName>P1</PrinterName><PrinterName/>"), {}},
        {"code", status_of(P1_105 + "<Other/><ErrorCode>7</ErrorCode>"), make_error("P1", "7")},
        {"empty code later", status_of(P1_105 + "<ErrorCode/>"), make_error("P1")},
    });
}

TEST_F(ClientTest, OnlyChildElementsOfTheRootAreFields) {
    const auto name = "<PrinterName>P1</PrinterName>"s;
    const auto code = "<ErrorCode>105</ErrorCode>"s;
    const auto expected = make_error("P1", "105");
    expect_parsed({
        {"comments", status_of("<!-- a -->" + name + "<!-- b -->" + code + "<!-- c -->"), expected},
        {"comment with a field", status_of(name + "<!-- <ErrorCode>9</ErrorCode> -->" + code),
         expected},
        {"text", status_of("one" + name + " two " + code + "three &amp; more"), expected},
        {"character data", status_of("<![CDATA[<a>]]>" + name + "<![CDATA[<b>]]>" + code),
         expected},
        {"unknown elements", status_of("<A/>" + name + "<B>b<C>c</C></B>" + code + "<D x='y'/>"),
         expected},
        {"nested field", status_of(name + code + "<Other><ErrorCode>9</ErrorCode></Other>"),
         expected},
        {"attributes",
         "<PrinterStatus a='b'><PrinterName c='d' ErrorCode='9'>P1</PrinterName>" + code +
             "</PrinterStatus>",
         expected},
        {"printer state", status_of("<PrinterState>P2</PrinterState>" + name + code), expected},
        {"declaration before the root", "<?xml version='1.0'?><?other thing?>" + status_of(P1_105),
         expected},
        {"document type", "<!DOCTYPE PrinterStatus>" + status_of(P1_105), expected},
        {"comment before the root", "<!-- c -->" + status_of(P1_105) + "<!-- d -->\n", expected},
        {"second root", status_of(P1_105) + "<RemovePrinterError/>", expected},
        {"blanks around the root", " \r\n\t" + status_of(P1_105) + "\n\n", expected},
        {"byte order mark", "\xEF\xBB\xBF" + status_of(P1_105), expected},
    });
}

TEST_F(ClientTest, ValueIsTheTextAtTheBeginningOfTheElement) {
    expect_parsed({
        {"nested element", string_of("<b>x</b>"), make_error_with_string("")},
        {"element, then text", string_of("<b/>x"), make_error_with_string("")},
        {"text, then element", string_of("x<b>y</b>z"), make_error_with_string("x")},
        {"text, then comment", string_of("x<!-- c -->y"), make_error_with_string("x")},
        {"comment alone", string_of("<!-- c -->"), make_error_with_string("")},
        {"character data", string_of("<![CDATA[a & <b> &amp;]]>"),
         make_error_with_string("a & <b> &amp;")},
        {"character data, then text", string_of("<![CDATA[x]]>y"), make_error_with_string("x")},
        {"text, then character data", string_of("x<![CDATA[y]]>"), make_error_with_string("x")},
        {"empty", string_of(""), make_error_with_string("")},
    });
}

TEST_F(ClientTest, ValueKeepsItsBlanksAndBytes) {
    expect_parsed({
        {"blanks around a name", status_of("<PrinterName>  P 1\t</PrinterName>"),
         make_error("  P 1\t")},
        {"line feeds", string_of("\n one\n\n two \n"), make_error_with_string("\n one\n\n two \n")},
        {"leading zeros", status_of("<PrinterName>P1</PrinterName><ErrorCode>0042</ErrorCode>"),
         make_error("P1", "0042")},
        {"no number", status_of("<PrinterName>P1</PrinterName><ErrorCode> x1 </ErrorCode>"),
         make_error("P1", " x1 ")},
        {"UTF-8", string_of("Farbe \xC3\xA9\xE2\x82\xAC"),
         make_error_with_string("Farbe \xC3\xA9\xE2\x82\xAC")},
        {"bytes that are no UTF-8", string_of("\xE9\xFF\x80"),
         make_error_with_string("\xE9\xFF\x80")},
        {"control characters", string_of("\x01\x1B\x7F"), make_error_with_string("\x01\x1B\x7F")},
        {"long", string_of(std::string(100000, 'x')),
         make_error_with_string(std::string(100000, 'x'))},
    });
}

TEST_F(ClientTest, EntitiesAndReferencesAreDecoded) {
    expect_parsed({
        {"ampersand", string_of("a &amp; b"), make_error_with_string("a & b")},
        {"all five", string_of("&quot;&apos;&lt;&gt;&amp;"), make_error_with_string("\"'<>&")},
        {"once only", string_of("&amp;lt;"), make_error_with_string("&lt;")},
        {"decimal", string_of("&#65;&#233;&#8364;"),
         make_error_with_string("A\xC3\xA9\xE2\x82\xAC")},
        {"hexadecimal", string_of("&#x41;&#xE9;&#x20ac;"),
         make_error_with_string("A\xC3\xA9\xE2\x82\xAC")},
        {"in a name", status_of("<PrinterName>A&amp;B</PrinterName>"), make_error("A&B")},
    });
}

TEST_F(ClientTest, WhatIsNoDocumentGivesNoError) {
    expect_parsed({
        {"empty", "", {}},
        {"blanks", " \n\t ", {}},
        {"byte order mark alone", "\xEF\xBB\xBF", {}},
        {"text", "no document at all", {}},
        {"JSON", "{\"PrinterName\": \"P1\"}", {}},
        {"declaration alone", "<?xml version=\"1.0\"?>", {}},
        {"comment alone", "<!-- nothing -->", {}},
        {"open bracket", "<", {}},
        {"brackets", "<>", {}},
        {"root not closed", "<PrinterStatus>" + P1_105, {}},
        {"closed by another name", "<PrinterStatus>" + P1_105 + "</RemovePrinterError>", {}},
        {"closing first", "</PrinterStatus>" + P1_105, {}},
        {"field not closed", status_of("<PrinterName>P1"), {}},
        {"zero byte first", "\0"s + status_of(P1_105), {}},
        {"zero byte in the middle", "<PrinterStatus>" + P1_105 + "\0</PrinterStatus>"s, {}},
        {"bytes of UTF-16", "<\0P\0r\0i\0n\0t\0e\0r\0"s, {}},
    });
}

TEST_F(ClientTest, ParsingEndsAtAZeroByte) {
    expect_parsed({
        {"rubbish behind it", status_of(P1_105) + "\0</rubbish>"s, make_error("P1", "105")},
        {"root behind it", status_of(P1_105) + "\0"s + status_of("<PrinterName>P2</PrinterName>"),
         make_error("P1", "105")},
    });
}

TEST_F(ClientTest, EveryBeginningOfADocumentIsAStatus) {
    for (std::size_t size = 0; size < FULL_DOCUMENT.size(); ++size) {
        const auto status = parse_printer_status(FULL_DOCUMENT.substr(0, size));
        EXPECT_EQ(status.raw_status_text.size(), size);
        EXPECT_THAT(status.errors, IsEmpty()) << size;
    }
}

TEST_F(ClientTest, DeepNestingIsAStatus) {
    expect_parsed({
        {"shallow enough to be read",
         status_of(P1_105 + repeated("<n>", 50) + repeated("</n>", 50)), make_error("P1", "105")},
    });
    for (const int depth : {100, 300, 500, 1000, 100000}) {
        for (const bool is_closed : {true, false}) {
            const auto document = status_of(P1_105 + repeated("<n>", depth) +
                                            repeated("</n>", is_closed ? depth : 0));
            const auto status = parse_printer_status(document);
            EXPECT_TRUE(status.raw_status_text == document) << depth;
            // How deep it reads is the parser's matter; it reads all of the document or none.
            for (const auto& error : status.errors) {
                EXPECT_TRUE(is_closed) << depth;
                EXPECT_EQ(error, make_error("P1", "105")) << depth;
            }
            EXPECT_LE(status.errors.size(), 1U);
        }
    }
}

TEST_F(LoggedClientTest, ParserLogsEachElementAndNothingElse) {
    const auto document = "<?xml version='1.0'?>"
                          "<RemovePrinterError><!-- c -->one<PrinterState>busy %d</PrinterState>"
                          "<PrinterName> P1 </PrinterName>two<ErrorString><b/></ErrorString>"
                          "<![CDATA[three]]><Other>&lt;</Other><ErrorCode>0</ErrorCode>"
                          "<ErrorCode>00</ErrorCode></RemovePrinterError>"s;
    parse_printer_status(document);
    const std::string own = "zor_printer_io.cpp parse_printer_status ";
    EXPECT_THAT(
        log_lines(),
        ElementsAre(own + "begin; text=" + document, own + "top element name: RemovePrinterError",
                    own + "    Handling field: PrinterState=busy %d.",
                    own + "    Handling field: PrinterName= P1 .",
                    own + "    Handling field: ErrorString=.", own + "    Handling field: Other=<.",
                    own + "    Handling field: ErrorCode=0.",
                    own + "    Handling field: ErrorCode=00.", own + "end; num errors=1"));
}

TEST_F(LoggedClientTest, ParserLogsThatThereIsNoRoot) {
    const std::string own = "zor_printer_io.cpp parse_printer_status ";
    for (const auto& document : {""s, "no document"s, "<!-- c -->"s, "<PrinterStatus>"s}) {
        SyslogCapture::clear();
        parse_printer_status(document);
        EXPECT_THAT(log_lines(), ElementsAre(concatenated({own, "begin; text=", document}),
                                             own + "no root element", own + "end; num errors=0"));
    }
    SyslogCapture::clear();
    parse_printer_status("<PrinterStatus/>");
    EXPECT_THAT(log_lines(),
                ElementsAre(own + "begin; text=<PrinterStatus/>",
                            own + "top element name: PrinterStatus", own + "end; num errors=0"));
}

TEST_F(LoggedClientTest, ParserIsSilentBelowTheVerboseLevel) {
    ConfigFile::write("diagnostics.level = 1\n");
    parse_printer_status(FULL_DOCUMENT);
    EXPECT_THAT(history(), IsEmpty());
}

// ---- Job commands -------------------------------------------------------------------------------

namespace {

// The request of a job command, with its prefix.
std::string bytes_of_command(const std::string& printer_name, const std::string& printer_job_id,
                             const std::string& error_code, int command,
                             const std::string& reply = "") {
    std::string request;
    FakePeer peer([&](FakePeer& self) {
        auto connection = self.accept();
        request = connection.receive_frame();
        EXPECT_TRUE(connection.is_silent());
        connection.send(frame(reply));
        EXPECT_EQ(connection.receive_rest(), "");
        EXPECT_FALSE(self.has_connection());
    });
    execute_printer_job_command(printer_name, printer_job_id, error_code, command);
    peer.finish();
    return request;
}

const std::string COMMAND_100 = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                "<PrinterAction>\n"
                                "    <PrinterName>P1</PrinterName>\n"
                                "    <Action>100</Action>\n"
                                "    <PrinterJobID>17</PrinterJobID>\n"
                                "    <ErrorCode>105</ErrorCode>\n"
                                "</PrinterAction>\n";

} // namespace

TEST_F(ClientTest, JobCommandIsADocumentOfSevenLines) {
    EXPECT_EQ(bytes_of_command("P1", "17", "105", 2), "\xC4\0\0\0\0\0\0\0"
                                                      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                                      "<PrinterAction>\n"
                                                      "    <PrinterName>P1</PrinterName>\n"
                                                      "    <Action>2</Action>\n"
                                                      "    <PrinterJobID>17</PrinterJobID>\n"
                                                      "    <ErrorCode>105</ErrorCode>\n"
                                                      "</PrinterAction>\n"s);
}

TEST_F(ClientTest, JobCommandHasTheActionAsANumber) {
    for (const auto& [command, text] :
         std::vector<std::pair<int, std::string>>{{100, "100"},
                                                  {101, "101"},
                                                  {102, "102"},
                                                  {0, "0"},
                                                  {-7, "-7"},
                                                  {1234567, "1234567"},
                                                  {INT32_MIN, "-2147483648"},
                                                  {INT32_MAX, "2147483647"}}) {
        EXPECT_EQ(bytes_of_command("P1", "17", "105", command),
                  frame("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                        "<PrinterAction>\n"
                        "    <PrinterName>P1</PrinterName>\n"
                        "    <Action>" +
                        text +
                        "</Action>\n"
                        "    <PrinterJobID>17</PrinterJobID>\n"
                        "    <ErrorCode>105</ErrorCode>\n"
                        "</PrinterAction>\n"));
    }
}

TEST_F(ClientTest, JobCommandEscapesItsThreeTexts) {
    EXPECT_EQ(bytes_of_command("A&<B", "it's \"1\"", "<'105'>", 101),
              frame("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                    "<PrinterAction>\n"
                    "    <PrinterName>A&amp;&lt;B</PrinterName>\n"
                    "    <Action>101</Action>\n"
                    "    <PrinterJobID>it&apos;s &quot;1&quot;</PrinterJobID>\n"
                    "    <ErrorCode>&lt;&apos;105&apos;&gt;</ErrorCode>\n"
                    "</PrinterAction>\n"));
}

TEST_F(ClientTest, JobCommandKeepsOtherBytes) {
    EXPECT_EQ(bytes_of_command("\xC3\xA9\xFF\x80", "\x01\r\n\t\x7F", "0\0x5"s, 102),
              frame("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                    "<PrinterAction>\n"
                    "    <PrinterName>\xC3\xA9\xFF\x80</PrinterName>\n"
                    "    <Action>102</Action>\n"
                    "    <PrinterJobID>\x01\r\n\t\x7F</PrinterJobID>\n"
                    "    <ErrorCode>0\0x5</ErrorCode>\n"
                    "</PrinterAction>\n"s));
}

TEST_F(ClientTest, JobCommandOfEmptyTextsHasEmptyElements) {
    EXPECT_EQ(bytes_of_command("", "", "", 100),
              frame("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                    "<PrinterAction>\n"
                    "    <PrinterName></PrinterName>\n"
                    "    <Action>100</Action>\n"
                    "    <PrinterJobID></PrinterJobID>\n"
                    "    <ErrorCode></ErrorCode>\n"
                    "</PrinterAction>\n"));
}

TEST_F(ClientTest, AnyReplyEndsAJobCommand) {
    for (const auto& reply : {""s, "ok"s, "<Error/>"s, "\0\xFF<"s, std::string(100000, 'r')}) {
        EXPECT_EQ(bytes_of_command("P1", "17", "105", 100, reply), frame(COMMAND_100));
    }
}

TEST_F(LoggedClientTest, JobCommandLogsItsTwoLinesAtTheNormalLevel) {
    ConfigFile::write("diagnostics.level = 1\n");
    bytes_of_command("A&B %s", "job <1>", "0105", -3);
    EXPECT_THAT(log_lines(),
                ElementsAre("zor_printer_io.cpp execute_printer_job_command begin; "
                            "printer_name=A&B %s job=job <1> error_code=0105 command=-3",
                            "zor_printer_io.cpp execute_printer_job_command end"));
    ConfigFile::write("diagnostics.level = 0\n");
    SyslogCapture::clear();
    bytes_of_command("P1", "17", "105", 100);
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(LoggedClientTest, JobCommandGoesStepByStep) {
    FakePeer peer(answer_with_bytes(frame("done")));
    ClientCalls calls;
    execute_printer_job_command("P1", "17", "105", 100);
    EXPECT_THAT(history(),
                ElementsAreArray(joined({{"zor_printer_io.cpp execute_printer_job_command begin; "
                                          "printer_name=P1 job=17 error_code=105 command=100"},
                                         exchange_of("#1", COMMAND_100, "done"),
                                         {"zor_printer_io.cpp execute_printer_job_command end"}})));
}

TEST_F(LoggedClientTest, FailedJobCommandDoesNotLogItsEnd) {
    ConfigFile::write("diagnostics.level = 1\n");
    FakePeer peer([](FakePeer& self) { self.accept().receive_frame(); });
    EXPECT_EQ(thrown_text([] { execute_printer_job_command("P1", "17", "105", 100); }),
              "Empty receive.");
    EXPECT_THAT(log_lines(), ElementsAre("zor_printer_io.cpp execute_printer_job_command begin; "
                                         "printer_name=P1 job=17 error_code=105 command=100"));
}

TEST(XmlEscape, ReplacesFiveCharactersAndKeepsEveryOtherByte) {
    for (int i = 0; i < 256; ++i) {
        const std::string text(1, static_cast<char>(i));
        std::string expected = text;
        switch (i) {
        case 0x22:
            expected = "&quot;";
            break;
        case 0x26:
            expected = "&amp;";
            break;
        case 0x27:
            expected = "&apos;";
            break;
        case 0x3C:
            expected = "&lt;";
            break;
        case 0x3E:
            expected = "&gt;";
            break;
        default:
            break;
        }
        EXPECT_EQ(xml_escape(text), expected) << i;
        EXPECT_EQ(xml_escape(concatenated({"a", text, text, "b"})),
                  concatenated({"a", expected, expected, "b"}))
            << i;
    }
    EXPECT_EQ(xml_escape(""), "");
    EXPECT_EQ(xml_escape("&amp;"), "&amp;amp;");
}

// ---- Log places and handles ---------------------------------------------------------------------

TEST_F(LoggedClientTest, EachLineNamesThePlaceThatWroteIt) {
    ask_for_status(nullptr, SHORT_DOCUMENT);
    bytes_of_command("P1", "17", "105", 100, "reply");
    std::map<std::string, std::vector<std::string>> sources;
    for (const std::string name : {"gui_socket.cpp", "zor_printer_io.cpp"}) {
        std::ifstream file(ZOR_SOURCE_DIRECTORY "/" + name);
        for (std::string line; std::getline(file, line);) {
            sources[name].push_back(line);
        }
    }
    const auto lines = SyslogCapture::lines();
    EXPECT_GT(lines.size(), 40U);
    for (const auto& [priority, text] : lines) {
        const auto colon = text.find(':');
        const auto& source = sources[text.substr(0, colon)];
        const std::size_t number = std::stoul(text.substr(colon + 1));
        ASSERT_LE(number, source.size()) << text;
        // A call may go over several lines, the compiler counts the first or the last.
        bool is_found = false;
        const auto end = std::min(number + 2, source.size());
        for (auto i = std::max(number, std::size_t{3}) - 3; i < end; ++i) {
            is_found = is_found || source[i].find("GUI_LOG(") != std::string::npos;
        }
        EXPECT_TRUE(is_found) << text;
    }
}

namespace {

void expect_no_leak_in_many_runs(const std::string& text, const std::function<void()>& run) {
    const auto before = count_descriptors();
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(thrown_text(run), text) << "run " << i;
    }
    // The peer in this process may still hold its end of the last connection for a moment.
    EXPECT_TRUE(wait_until([before] { return count_descriptors() == before; }))
        << text << " left " << count_descriptors() - before;
}

// A peer that cuts or spoils a thousand exchanges, one after the other.
FakePeer::Script spoil_exchanges(const std::string& answer, bool is_status_request = false) {
    return [answer, is_status_request](FakePeer& peer) {
        for (int i = 0; i < 1000; ++i) {
            std::optional<PeerConnection> silent;
            if (is_status_request) {
                silent.emplace(peer.accept());
            }
            auto exchange = peer.accept();
            exchange.receive_frame();
            exchange.send(answer);
        }
    };
}

} // namespace

TEST(ClientHandles, AThousandRefusedConnectionsLeaveNone) {
    expect_no_leak_in_many_runs("Failed to connect socket.", [] { execute_printer_op("c"); });
    expect_no_leak_in_many_runs("Failed to connect socket.",
                                [] { get_updated_printer_status(nullptr); });
    expect_no_leak_in_many_runs("Failed to connect socket.",
                                [] { execute_printer_job_command("P1", "17", "105", 100); });
}

TEST(ClientHandles, AThousandRefusedTimeOutsLeaveNone) {
    FakePeer peer([](FakePeer& self) {
        for (int i = 0; i < 1000; ++i) {
            self.accept().receive_rest();
        }
    });
    ClientCalls calls;
    calls.setsockopt = [](int, int, int, const void*, socklen_t) {
        return -1;
    };
    expect_no_leak_in_many_runs("Failed to set socket timeout to 15000.",
                                [] { execute_printer_op("c"); });
}

TEST(ClientHandles, AThousandHalfRepliesLeaveNone) {
    const auto half = length_prefix(100) + std::string(40, 'x');
    {
        FakePeer peer(spoil_exchanges(half));
        expect_no_leak_in_many_runs("Empty receive.", [] { execute_printer_op("c"); });
    }
    FakePeer peer(spoil_exchanges(half, true));
    expect_no_leak_in_many_runs("Empty receive.", [] { get_updated_printer_status(nullptr); });
}

TEST(ClientHandles, AThousandImpossibleLengthsLeaveNone) {
    if (HAS_SANITIZER_ALLOCATOR) {
        GTEST_SKIP() << "the allocator of a sanitizer ends the process for such a length";
    }
    FakePeer peer(spoil_exchanges(length_prefix(UINT64_MAX), true));
    const auto before = count_descriptors();
    for (int i = 0; i < 1000; ++i) {
        ASSERT_THROW(get_updated_printer_status(nullptr), std::bad_alloc) << "run " << i;
    }
    EXPECT_TRUE(wait_until([before] { return count_descriptors() == before; }));
}
