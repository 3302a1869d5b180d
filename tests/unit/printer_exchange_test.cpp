// One exchange with the printer service: request, reply, time-outs, lengths that lie, log. Replies
// that break off have a test program of their own.

#include <sys/mman.h>

#include <atomic>
#include <fstream>
#include <new>

#include "printer_io_support.h"

using testing::ElementsAreArray;
using namespace std::string_literals;

namespace {

// The exchange against a service that answers with these bytes as they are.
std::string exchange_with(const std::string& answer, const std::string& command = "command") {
    FakePeer peer(answer_with_bytes(answer));
    return execute_printer_op(command);
}

std::string exchange_and_take_text() {
    return thrown_text([] { execute_printer_op("command"); });
}

} // namespace

// ---- Exchange: the request ----------------------------------------------------------------------

namespace {

std::string bytes_sent_for(const std::string& command) {
    return bytes_sent_in([&] { EXPECT_EQ(execute_printer_op(command), "reply"); }, "reply");
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
    for (const auto& reply : {"reply"s, ""s, "a\0b\0"s, "\0"s, every_byte,
                              std::string(0x10203, 'r'), std::string(1 << 20, '\0')}) {
        EXPECT_TRUE(exchange_with(frame(reply)) == reply) << "reply of " << reply.size();
    }
}

TEST_F(ClientTest, NothingIsReadBehindTheReply) {
    EXPECT_EQ(exchange_with("\x03\0\0\0\0\0\0\0abcdef"s), "abc");
    EXPECT_EQ(exchange_with("\0\0\0\0\0\0\0\0abcdef"s), "");
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
    calls.setsockopt = ClientCalls::always(-1);
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
