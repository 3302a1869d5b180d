// What the tests of the printer service's client share: records that can be compared, the log of
// whole exchanges, and exchanges with a peer.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "client_calls.h"
#include "zor_printer_io.h"

inline bool operator==(const ZORPrinterError& left, const ZORPrinterError& right) {
    return left.gui_action_code == right.gui_action_code &&
           left.printer_name == right.printer_name && left.printer_job_id == right.printer_job_id &&
           left.error_code == right.error_code && left.error_string == right.error_string &&
           left.error_severity == right.error_severity && left.service_code == right.service_code;
}

inline std::ostream& operator<<(std::ostream& stream, const ZORPrinterError& error) {
    return stream << (error.gui_action_code == SHOW_ERROR ? "show [" : "remove [")
                  << error.printer_name << "] [" << error.printer_job_id << "] ["
                  << error.error_code << "] [" << error.error_string << "] ["
                  << error.error_severity << "] [" << error.service_code << "]";
}

inline const std::string STATUS_REQUEST = "{{get-published-info}}";

inline const std::string SHORT_DOCUMENT = "<PrinterStatus><PrinterName>P1</PrinterName>"
                                          "<ErrorCode>105</ErrorCode></PrinterStatus>";

class ClientTest : public testing::Test {
protected:
    void SetUp() override { SyslogCapture::clear(); }
};

class LoggedClientTest : public ClientTest {
protected:
    ConfigFile config{"diagnostics.level = 2\n"};
};

inline ZORPrinterError make_error(const std::string& printer_name,
                                  const std::string& error_code = "") {
    ZORPrinterError error;
    error.gui_action_code = SHOW_ERROR;
    error.printer_name = printer_name;
    error.error_code = error_code;
    return error;
}

inline std::string concatenated(const std::vector<std::string>& texts) {
    std::string all;
    for (const auto& text : texts) {
        all += text;
    }
    return all;
}

// History entries of one connection to the service, by its name in the history.
inline std::vector<std::string> opening_of(const std::string& name) {
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

inline std::vector<std::string> closing_of(const std::string& name, bool is_built = true) {
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
inline std::vector<std::string> exchange_of(const std::string& name, const std::string& command,
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

// Takes a status request on the second connection and answers it.
inline FakePeer::Script answer_status_request(const std::string& reply, std::string& request) {
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

inline StatusExchange ask_for_status(const ZORPrinterStatus* prior, const std::string& reply) {
    StatusExchange result;
    FakePeer peer(answer_status_request(reply, result.request));
    result.status = get_updated_printer_status(prior);
    peer.finish();
    return result;
}

inline ZORPrinterStatus make_status(const std::string& raw_status_text) {
    ZORPrinterStatus status;
    status.raw_status_text = raw_status_text;
    return status;
}

// All bytes that the client sends in a call until it closes, or waits for the reply.
inline std::string bytes_sent_in(const std::function<void()>& call, const std::string& reply) {
    std::string bytes;
    FakePeer peer([&](FakePeer& self) {
        auto connection = self.accept();
        bytes = connection.receive_frame();
        EXPECT_TRUE(connection.is_silent());
        connection.send(frame(reply));
        bytes += connection.receive_rest();
        EXPECT_FALSE(self.has_connection());
    });
    call();
    peer.finish();
    return bytes;
}

// The request of a job command, with its prefix.
inline std::string bytes_of_command(const std::string& printer_name,
                                    const std::string& printer_job_id,
                                    const std::string& error_code, int command,
                                    const std::string& reply = "") {
    return bytes_sent_in(
        [&] { execute_printer_job_command(printer_name, printer_job_id, error_code, command); },
        reply);
}
