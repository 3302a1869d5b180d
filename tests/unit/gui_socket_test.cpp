#include "gui_socket.h"

#include <sys/mman.h>

#include <climits>
#include <cstring>
#include <limits>
#include <optional>
#include <utility>

#include <gmock/gmock.h>

#include "client_calls.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

constexpr const char* HOST = "127.0.0.1";

class GUISocketTest : public testing::Test {
protected:
    void SetUp() override { SyslogCapture::clear(); }

    ConfigFile m_config{"diagnostics.level = 2\n"};
};

// Tests in which no call reaches the system.
class GUISocketCallsTest : public GUISocketTest {
protected:
    void SetUp() override {
        GUISocketTest::SetUp();
        calls.pretend_success();
    }

    // A connected socket, with an empty history.
    GUISocket& connected() {
        m_socket.emplace(HOST, SERVICE_PORT);
        SyslogCapture::clear();
        return *m_socket;
    }

    ClientCalls calls;

private:
    std::optional<GUISocket> m_socket;
};

// What a failed constructor leaves in the history once there was a handle.
const std::vector<std::string> CLOSED_HISTORY{
    "gui_socket.cpp ~my_data_members begin",
    "* close(#1)",
    "gui_socket.cpp ~my_data_members close_result=0",
    "gui_socket.cpp ~my_data_members end",
};

void make_and_close(const char* host = HOST, int port = SERVICE_PORT) {
    const GUISocket socket(host, port);
}

std::string construct_and_take_text() {
    return thrown_text([] { make_and_close(); });
}

// A system call that gives these results, one at each call, and fails the test at one more.
template <typename Data>
auto scripted(std::vector<ssize_t> results, int error = 0) {
    return [results, error, next = std::size_t{0}](int, Data, std::size_t, int) mutable {
        if (next == results.size()) {
            throw std::logic_error("one call more than expected");
        }
        errno = error;
        return results[next++];
    };
}

// What a call gives that takes all it is given; ends the test when that is more than an int.
ssize_t taken_whole(std::size_t size) {
    if (size > INT_MAX) {
        throw std::logic_error("one call was given " + std::to_string(size) + " bytes");
    }
    return static_cast<ssize_t>(size);
}

// More than two calls can carry; with 32 bits, where there is no room for that, more than one can.
constexpr std::size_t MORE_THAN_AN_INT =
    HAS_32_BITS ? std::size_t{INT_MAX} + 10 : static_cast<std::size_t>(5ULL << 30);

// What the calls are given for so many bytes, as "* send(#1, N, 0)".
std::vector<std::string> portions_of(std::size_t size, const std::string& call) {
    std::vector<std::string> entries;
    while (size > 0) {
        const auto portion = std::min(size, std::size_t{INT_MAX});
        entries.push_back("* " + call + "(#1, " + std::to_string(portion) + ", 0)");
        size -= portion;
    }
    return entries;
}

// Address space that nobody may touch.
class Untouchable {
public:
    explicit Untouchable(std::size_t size) : m_size(size) {
        m_start =
            mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (m_start == MAP_FAILED) {
            throw std::runtime_error("no address space");
        }
    }
    ~Untouchable() { munmap(m_start, m_size); }
    Untouchable(const Untouchable&) = delete;
    Untouchable& operator=(const Untouchable&) = delete;

    void* start() const { return m_start; }

private:
    std::size_t m_size;
    void* m_start;
};

} // namespace

// ---- Making and closing -------------------------------------------------------------------------

TEST_F(GUISocketCallsTest, ConnectsAndClosesStepByStep) {
    make_and_close();
    EXPECT_THAT(history(),
                ElementsAre("gui_socket.cpp GUISocket begin", "* inet_pton(AF_INET, 127.0.0.1)",
                            "* socket(AF_INET, SOCK_STREAM, 0)",
                            "* connect(#1, AF_INET 127.0.0.1:1753)", "gui_socket.cpp GUISocket end",
                            "gui_socket.cpp ~GUISocket begin", "gui_socket.cpp ~GUISocket end",
                            "gui_socket.cpp ~my_data_members begin", "* close(#1)",
                            "gui_socket.cpp ~my_data_members close_result=0",
                            "gui_socket.cpp ~my_data_members end"));
}

TEST_F(GUISocketCallsTest, LogsNothingBelowTheVerboseLevel) {
    for (const char* content : {"diagnostics.level = 1\n", "diagnostics.level = 0\n", "\n"}) {
        ConfigFile::write(content);
        make_and_close();
        calls.connect = ClientCalls::always(-1);
        construct_and_take_text();
        EXPECT_THAT(log_lines(), IsEmpty()) << content;
        calls.pretend_success();
    }
}

TEST_F(GUISocketCallsTest, PutsThePortIntoNetworkByteOrder) {
    make_and_close("10.1.2.3", 258);
    EXPECT_EQ(system_calls().at(2), "* connect(#1, AF_INET 10.1.2.3:258)");
}

TEST_F(GUISocketCallsTest, RefusesEveryHostThatIsNoDottedAddress) {
    for (const char* host :
         {"localhost", "", " ", "127.0.0.1 ", " 127.0.0.1", "127.1", "127.0.0", "127.0.0.1.1",
          "256.0.0.1", "0x7f.0.0.1", "127.0.0.1:1753", "::1", "::ffff:127.0.0.1", "example.org"}) {
        SyslogCapture::clear();
        EXPECT_EQ(thrown_text([host] { const GUISocket socket(host, SERVICE_PORT); }),
                  "Failed to lookup host.")
            << host;
        EXPECT_THAT(history(), ElementsAre("gui_socket.cpp GUISocket begin",
                                           std::string("* inet_pton(AF_INET, ") + host + ")",
                                           "gui_socket.cpp ~my_data_members begin",
                                           "gui_socket.cpp ~my_data_members end"))
            << host;
    }
}

TEST_F(GUISocketCallsTest, TakesAnErrorOfTheLookupForAFailedLookup) {
    calls.inet_pton = ClientCalls::always(-1);
    EXPECT_EQ(construct_and_take_text(), "Failed to lookup host.");
    EXPECT_THAT(system_calls(), ElementsAre("* inet_pton(AF_INET, 127.0.0.1)"));
}

TEST_F(GUISocketCallsTest, ReportsThatNoHandleIsToBeHad) {
    calls.socket = ClientCalls::always(-1);
    EXPECT_EQ(construct_and_take_text(), "Failed to create socket handle.");
    EXPECT_THAT(history(),
                ElementsAre("gui_socket.cpp GUISocket begin", "* inet_pton(AF_INET, 127.0.0.1)",
                            "* socket(AF_INET, SOCK_STREAM, 0)",
                            "gui_socket.cpp ~my_data_members begin",
                            "gui_socket.cpp ~my_data_members end"));
}

TEST_F(GUISocketCallsTest, ClosesTheHandleOfAFailedConnectAndDoesNotTryAgain) {
    for (const int error : {ECONNREFUSED, EINTR, EAGAIN}) {
        ClientCalls fresh_calls;
        fresh_calls.pretend_success();
        fresh_calls.connect = [error](int, const sockaddr*, socklen_t) {
            errno = error;
            return -1;
        };
        SyslogCapture::clear();
        EXPECT_EQ(construct_and_take_text(), "Failed to connect socket.");
        EXPECT_THAT(history(), ElementsAreArray(joined({{"gui_socket.cpp GUISocket begin",
                                                         "* inet_pton(AF_INET, 127.0.0.1)",
                                                         "* socket(AF_INET, SOCK_STREAM, 0)",
                                                         "* connect(#1, AF_INET 127.0.0.1:1753)"},
                                                        CLOSED_HISTORY})))
            << error;
    }
}

TEST_F(GUISocketCallsTest, HandleZeroIsAHandle) {
    calls.pretend_success(0);
    make_and_close();
    EXPECT_THAT(system_calls(), testing::Contains("* close(#1)"));
}

TEST_F(GUISocketCallsTest, OnlyLogsThatCloseFailed) {
    calls.close = ClientCalls::always(-1);
    make_and_close();
    const auto entries = history();
    ASSERT_EQ(entries.size(), 11U);
    EXPECT_EQ(entries[8], "* close(#1)");
    EXPECT_EQ(entries[9], "gui_socket.cpp ~my_data_members close_result=-1");
    EXPECT_EQ(entries[10], "gui_socket.cpp ~my_data_members end");
}

// ---- Time-outs ----------------------------------------------------------------------------------

TEST_F(GUISocketCallsTest, SetsTheReceiveTimeOutAndThenTheSendTimeOut) {
    struct Row {
        int read_ms;
        int write_ms;
        const char* receive_call;
        const char* send_call;
    };
    for (const auto& row : {
             Row{1500, 0, "* setsockopt(#1, SO_RCVTIMEO, 1.500000)",
                 "* setsockopt(#1, SO_SNDTIMEO, 0.000000)"},
             Row{0, 1500, "* setsockopt(#1, SO_RCVTIMEO, 0.000000)",
                 "* setsockopt(#1, SO_SNDTIMEO, 1.500000)"},
             Row{1, 999, "* setsockopt(#1, SO_RCVTIMEO, 0.001000)",
                 "* setsockopt(#1, SO_SNDTIMEO, 0.999000)"},
             Row{1000, 1001, "* setsockopt(#1, SO_RCVTIMEO, 1.000000)",
                 "* setsockopt(#1, SO_SNDTIMEO, 1.001000)"},
             Row{15000, 1000, "* setsockopt(#1, SO_RCVTIMEO, 15.000000)",
                 "* setsockopt(#1, SO_SNDTIMEO, 1.000000)"},
             Row{INT_MAX, INT_MAX, "* setsockopt(#1, SO_RCVTIMEO, 2147483.647000)",
                 "* setsockopt(#1, SO_SNDTIMEO, 2147483.647000)"},
         }) {
        ClientCalls fresh_calls;
        fresh_calls.pretend_success();
        connected().set_read_write_timeouts_milliseconds(row.read_ms, row.write_ms);
        EXPECT_THAT(history(), ElementsAre(row.receive_call, row.send_call));
    }
}

TEST_F(GUISocketCallsTest, NegativeReceiveTimeOutSetsNothing) {
    auto& socket = connected();
    EXPECT_EQ(thrown_text([&] { socket.set_read_write_timeouts_milliseconds(-1, 1000); }),
              "Invalid socket timeout value: -1.");
    EXPECT_EQ(thrown_text([&] { socket.set_read_write_timeouts_milliseconds(-1, -5); }),
              "Invalid socket timeout value: -1.");
    EXPECT_EQ(thrown_text([&] { socket.set_read_write_timeouts_milliseconds(INT_MIN, 0); }),
              "Invalid socket timeout value: -2147483648.");
    EXPECT_THAT(history(), IsEmpty());
}

TEST_F(GUISocketCallsTest, NegativeSendTimeOutLeavesTheReceiveTimeOutSet) {
    auto& socket = connected();
    EXPECT_EQ(thrown_text([&] { socket.set_read_write_timeouts_milliseconds(1000, -5); }),
              "Invalid socket timeout value: -5.");
    EXPECT_THAT(history(), ElementsAre("* setsockopt(#1, SO_RCVTIMEO, 1.000000)"));
}

TEST_F(GUISocketCallsTest, RefusedReceiveTimeOutEndsTheSetting) {
    calls.setsockopt = ClientCalls::always(-1);
    auto& socket = connected();
    EXPECT_EQ(thrown_text([&] { socket.set_read_write_timeouts_milliseconds(1500, 700); }),
              "Failed to set socket timeout to 1500.");
    EXPECT_THAT(history(), ElementsAre("* setsockopt(#1, SO_RCVTIMEO, 1.500000)"));
}

TEST_F(GUISocketCallsTest, RefusedSendTimeOutIsReportedWithItsValue) {
    calls.setsockopt = [](int, int, int option, const void*, socklen_t) {
        return option == SO_SNDTIMEO ? -1 : 0;
    };
    auto& socket = connected();
    EXPECT_EQ(thrown_text([&] { socket.set_read_write_timeouts_milliseconds(1500, 700); }),
              "Failed to set socket timeout to 700.");
    EXPECT_THAT(history(), ElementsAre("* setsockopt(#1, SO_RCVTIMEO, 1.500000)",
                                       "* setsockopt(#1, SO_SNDTIMEO, 0.700000)"));
}

// ---- Sending ------------------------------------------------------------------------------------

TEST_F(GUISocketCallsTest, SendSomeIsOneCallWithoutFlags) {
    calls.send = [](int handle, const void* data, std::size_t size, int) {
        EXPECT_EQ(handle, 4711);
        EXPECT_EQ(std::string(static_cast<const char*>(data), size), "abcde");
        return ssize_t{3};
    };
    EXPECT_EQ(connected().send_some("abcde", 5), 3);
    EXPECT_THAT(history(), ElementsAre("* send(#1, 5, 0)"));
}

TEST_F(GUISocketCallsTest, SendAllGoesOnBehindEachShortSend) {
    std::vector<std::size_t> portions{3, 1, 4, 2};
    std::string taken;
    calls.send = [&](int, const void* data, std::size_t, int) {
        const auto portion = portions.front();
        portions.erase(portions.begin());
        taken.append(static_cast<const char*>(data), portion);
        return static_cast<ssize_t>(portion);
    };
    connected().send_all("0123456789", 10);
    EXPECT_EQ(taken, "0123456789");
    EXPECT_THAT(history(), ElementsAre("* send(#1, 10, 0)", "* send(#1, 7, 0)", "* send(#1, 6, 0)",
                                       "* send(#1, 2, 0)"));
}

TEST_F(GUISocketCallsTest, SendThatTakesNothingIsAFailure) {
    calls.send = scripted<const void*>({0, 3, 0});
    auto& socket = connected();
    EXPECT_EQ(thrown_text([&] { socket.send_some("abcde", 5); }), "Empty send.");
    EXPECT_EQ(thrown_text([&] { socket.send_all("abcde", 5); }), "Empty send.");
    EXPECT_THAT(history(), ElementsAre("* send(#1, 5, 0)", "* send(#1, 5, 0)", "* send(#1, 2, 0)"));
}

TEST_F(GUISocketCallsTest, SendSomeOfNothingIsOneCallAndNoFailure) {
    EXPECT_EQ(connected().send_some("", 0), 0);
    EXPECT_THAT(history(), ElementsAre("* send(#1, 0, 0)"));
}

TEST_F(GUISocketCallsTest, SendAllOfNothingMakesNoCall) {
    connected().send_all(nullptr, 0);
    EXPECT_THAT(history(), IsEmpty());
}

TEST_F(GUISocketCallsTest, FailedSendIsNotRepeated) {
    for (const int error : {EINTR, EAGAIN, EPIPE}) {
        ClientCalls fresh_calls;
        fresh_calls.pretend_success();
        fresh_calls.send = scripted<const void*>({-1, 3, -1}, error);
        auto& socket = connected();
        EXPECT_EQ(thrown_text([&] { socket.send_some("abcde", 5); }), "Failed writing to socket.");
        EXPECT_EQ(thrown_text([&] { socket.send_all("abcde", 5); }), "Failed writing to socket.");
        EXPECT_THAT(history(),
                    ElementsAre("* send(#1, 5, 0)", "* send(#1, 5, 0)", "* send(#1, 2, 0)"));
    }
}

TEST_F(GUISocketCallsTest, OneSendIsGivenNoMoreThanAnInt) {
    const Untouchable data(MORE_THAN_AN_INT);
    std::size_t total = 0;
    calls.send = [&](int, const void* from, std::size_t size, int) {
        EXPECT_EQ(from, static_cast<const char*>(data.start()) + total);
        total += size;
        return taken_whole(size);
    };
    auto& socket = connected();
    socket.send_all(data.start(), MORE_THAN_AN_INT);
    EXPECT_THAT(history(), ElementsAreArray(portions_of(MORE_THAN_AN_INT, "send")));
    total = 0;
    EXPECT_EQ(socket.send_some(data.start(), SIZE_MAX), INT_MAX);
}

TEST_F(GUISocketTest, SendToABrokenConnectionIsAFailure) {
    // The byte shows that connect has returned: reset before, it would be connect that fails.
    FakePeer peer([](FakePeer& self) {
        auto connection = self.accept();
        connection.receive(1);
        connection.reset();
    });
    GUISocket socket(HOST, SERVICE_PORT);
    socket.send_all("x", 1);
    peer.finish();
    EXPECT_EQ(thrown_text([&] { socket.send_all("abcde", 5); }), "Failed writing to socket.");
}

// ---- Receiving ----------------------------------------------------------------------------------

TEST_F(GUISocketCallsTest, ReceiveSomeIsOneCallWithoutFlags) {
    calls.recv = [](int handle, void* data, std::size_t, int) {
        EXPECT_EQ(handle, 4711);
        std::memcpy(data, "abc", 3);
        return ssize_t{3};
    };
    std::string data(5, '-');
    EXPECT_EQ(connected().receive_some(data.data(), 5), 3);
    EXPECT_EQ(data, "abc--");
    EXPECT_THAT(history(), ElementsAre("* recv(#1, 5, 0)"));
}

TEST_F(GUISocketCallsTest, ReceiveAllGoesOnBehindEachShortReceive) {
    std::vector<std::string> portions{"012", "3", "4567", "89"};
    calls.recv = [&](int, void* data, std::size_t, int) {
        const auto portion = portions.front();
        portions.erase(portions.begin());
        std::memcpy(data, portion.data(), portion.size());
        return static_cast<ssize_t>(portion.size());
    };
    std::string data(12, '-');
    connected().receive_all(data.data(), 10);
    EXPECT_EQ(data, "0123456789--");
    EXPECT_THAT(history(), ElementsAre("* recv(#1, 10, 0)", "* recv(#1, 7, 0)", "* recv(#1, 6, 0)",
                                       "* recv(#1, 2, 0)"));
}

TEST_F(GUISocketCallsTest, FailedReceiveIsNotRepeated) {
    for (const int error : {EINTR, EAGAIN, ECONNRESET}) {
        ClientCalls fresh_calls;
        fresh_calls.pretend_success();
        fresh_calls.recv = scripted<void*>({-1, 3, -1}, error);
        auto& socket = connected();
        std::string data(5, '-');
        EXPECT_EQ(thrown_text([&] { socket.receive_some(data.data(), 5); }), "Receive failed.");
        EXPECT_EQ(thrown_text([&] { socket.receive_all(data.data(), 5); }), "Receive failed.");
        EXPECT_THAT(history(),
                    ElementsAre("* recv(#1, 5, 0)", "* recv(#1, 5, 0)", "* recv(#1, 2, 0)"));
    }
}

TEST_F(GUISocketCallsTest, NoByteIsAFailureEvenWhenNoneWasAskedFor) {
    auto& socket = connected();
    std::string data(5, '-');
    EXPECT_EQ(thrown_text([&] { socket.receive_some(data.data(), 5); }), "Empty receive.");
    EXPECT_EQ(thrown_text([&] { socket.receive_some(data.data(), 0); }), "Empty receive.");
    EXPECT_THAT(history(), ElementsAre("* recv(#1, 5, 0)", "* recv(#1, 0, 0)"));
}

TEST_F(GUISocketCallsTest, ReceiveAllOfNothingMakesNoCall) {
    connected().receive_all(nullptr, 0);
    EXPECT_THAT(history(), IsEmpty());
}

TEST_F(GUISocketCallsTest, OneReceiveIsGivenNoMoreThanAnInt) {
    const Untouchable data(MORE_THAN_AN_INT);
    calls.recv = [](int, void*, std::size_t size, int) {
        return taken_whole(size);
    };
    auto& socket = connected();
    socket.receive_all(data.start(), MORE_THAN_AN_INT);
    EXPECT_THAT(history(), ElementsAreArray(portions_of(MORE_THAN_AN_INT, "recv")));
    EXPECT_EQ(socket.receive_some(data.start(), SIZE_MAX), INT_MAX);
}

// ---- The rest -----------------------------------------------------------------------------------

TEST(LimitSizeTAsInt, CutsAtTheLargestInt) {
    struct Row {
        std::uint64_t size;
        int limited;
    };
    for (const auto& row : {
             Row{0, 0},
             Row{1, 1},
             Row{2147483646, 2147483646},
             Row{2147483647, 2147483647},
             Row{2147483648, 2147483647},
             Row{4294967295, 2147483647},
             Row{4294967296, 2147483647},
             Row{4294967301, 2147483647},
             Row{1ULL << 63, 2147483647},
             Row{UINT64_MAX, 2147483647},
         }) {
        if (std::in_range<std::size_t>(row.size)) { // with 32 bits the rows up to the largest size
            EXPECT_EQ(limit_size_t_as_int(static_cast<std::size_t>(row.size)), row.limited)
                << row.size;
        }
    }
    EXPECT_EQ(limit_size_t_as_int(std::numeric_limits<std::size_t>::max()), 2147483647);
}

TEST(GUISocketHandles, AThousandFailuresLeaveNone) {
    const auto before = count_descriptors();
    for (int i = 0; i < MANY; ++i) {
        ASSERT_EQ(thrown_text([] { make_and_close("localhost"); }), "Failed to lookup host.");
        ASSERT_EQ(thrown_text([] { make_and_close(); }), "Failed to connect socket.");
    }
    EXPECT_EQ(count_descriptors(), before);
}
