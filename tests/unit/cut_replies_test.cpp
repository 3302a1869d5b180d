// The client against a service that breaks off, restarts and lies, thousands of times over real
// sockets: each failure has its text, costs no descriptor and no memory, and the next reply counts.

#include <optional>

#include "client_calls.h"
#include "zor_printer_io.h"

namespace {

const std::string DOCUMENT = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                             "<PrinterStatus>\n"
                             "    <PrinterName>Front &amp; Back</PrinterName>\n"
                             "    <PrinterJobID>17</PrinterJobID>\n"
                             "    <ErrorCode>110</ErrorCode>\n"
                             "    <ErrorString>Print ribbon out or missing.</ErrorString>\n"
                             "    <ErrorSeverity>3</ErrorSeverity>\n"
                             "    <ServiceCode>0</ServiceCode>\n"
                             "    <PrinterState>Suspended</PrinterState>\n"
                             "</PrinterStatus>\n";

enum class Ending { close, reset };

// The two connections of a status request: the silent one and the one with the exchange.
struct StatusConnections {
    explicit StatusConnections(FakePeer& peer) : silent(peer.accept()), exchange(peer.accept()) {}
    PeerConnection silent;
    PeerConnection exchange;
};

void break_off(PeerConnection& connection, const std::string& bytes, Ending ending) {
    connection.receive_frame();
    connection.send(bytes);
    if (ending == Ending::reset) {
        connection.reset();
    } else {
        connection.close();
    }
}

void expect_good_status() {
    const auto status = get_updated_printer_status(nullptr);
    ASSERT_EQ(status.errors.size(), 1U);
    EXPECT_EQ(status.errors[0].printer_name, "Front & Back");
    EXPECT_EQ(status.raw_status_text, DOCUMENT);
}

// Each reply is cut short once and then whole.
FakePeer::Script cut_at_every_offset(Ending ending) {
    return [ending](FakePeer& peer) {
        const auto reply = frame(DOCUMENT);
        for (std::size_t offset = 0; offset < reply.size(); ++offset) {
            {
                StatusConnections cut(peer);
                break_off(cut.exchange, reply.substr(0, offset), ending);
            }
            StatusConnections whole(peer);
            break_off(whole.exchange, reply, Ending::close);
        }
    };
}

void expect_failure_at_every_offset(Ending ending, const std::string& text) {
    FakePeer peer(cut_at_every_offset(ending));
    const auto before = count_descriptors();
    for (std::size_t offset = 0; offset < frame(DOCUMENT).size(); ++offset) {
        ASSERT_EQ(thrown_text([] { get_updated_printer_status(nullptr); }), text)
            << "offset " << offset;
        ASSERT_NO_FATAL_FAILURE(expect_good_status()) << "offset " << offset;
    }
    peer.finish();
    EXPECT_TRUE(has_descriptors(before));
}

} // namespace

TEST(CutReplies, StatusReplyClosedAtEveryOffsetIsAnEmptyReceive) {
    expect_failure_at_every_offset(Ending::close, "Empty receive.");
}

TEST(CutReplies, StatusReplyResetAtEveryOffsetIsAFailedReceive) {
    expect_failure_at_every_offset(Ending::reset, "Receive failed.");
}

TEST(CutReplies, CommandReplyClosedAtEveryOffsetIsAnEmptyReceiveAndIsNotRepeated) {
    const auto reply = frame(DOCUMENT);
    FakePeer peer([&reply](FakePeer& self) {
        for (std::size_t offset = 0; offset < reply.size(); ++offset) {
            auto connection = self.accept();
            break_off(connection, reply.substr(0, offset), Ending::close);
        }
    });
    for (std::size_t offset = 0; offset < reply.size(); ++offset) {
        ASSERT_EQ(thrown_text([] { execute_printer_job_command("P1", "17", "110", 102); }),
                  "Empty receive.")
            << "offset " << offset;
    }
    peer.finish();
    EXPECT_FALSE(peer.has_connection());
}

TEST(Restarts, AServiceThatComesAndGoesThousandsOfTimesLeavesNothingBehind) {
    const auto before = count_descriptors();
    for (int restart = 0; restart < 2000; ++restart) {
        {
            FakePeer peer([](FakePeer& self) {
                StatusConnections connections(self);
                break_off(connections.exchange, frame(DOCUMENT), Ending::close);
            });
            ASSERT_NO_FATAL_FAILURE(expect_good_status()) << "restart " << restart;
        }
        ASSERT_EQ(thrown_text([] { get_updated_printer_status(nullptr); }),
                  "Failed to connect socket.")
            << "restart " << restart;
    }
    EXPECT_TRUE(has_descriptors(before));
}

TEST(Restarts, AServiceThatGoesBetweenTheTwoConnectionsIsAFailedConnect) {
    for (int restart = 0; restart < 200; ++restart) {
        std::optional<FakePeer> peer;
        peer.emplace([](FakePeer&) {});
        ClientCalls calls;
        int connects = 0;
        calls.connect = [&](int handle, const sockaddr* address, socklen_t size) {
            if (++connects == 2) {
                peer.reset();
            }
            return __real_connect(handle, address, size);
        };
        ASSERT_EQ(thrown_text([] { get_updated_printer_status(nullptr); }),
                  "Failed to connect socket.")
            << "restart " << restart;
        ASSERT_EQ(connects, 2);
    }
}
