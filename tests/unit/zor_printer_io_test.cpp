// The client's records, its requests of both kinds, and what they leave behind.

#include <atomic>
#include <fstream>
#include <map>

#include "printer_io_support.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using namespace std::string_literals;

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

// ---- Status request -----------------------------------------------------------------------------

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

// ---- Job commands -------------------------------------------------------------------------------

const std::string COMMAND_100 = job_command("P1", "17", "105", 100);

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
    for (const int action : {100, 101, 102, 0, -7, 1234567, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(bytes_of_command("P1", "17", "105", action),
                  frame(job_command("P1", "17", "105", action)));
    }
}

TEST_F(ClientTest, JobCommandEscapesItsThreeTextsAndKeepsOtherBytes) {
    EXPECT_EQ(bytes_of_command("A&<B", "it's \"1\"", "<'105'>", 101),
              frame(job_command("A&amp;&lt;B", "it&apos;s &quot;1&quot;", "&lt;&apos;105&apos;&gt;",
                                101)));
    const std::vector<std::string> texts{"\xC3\xA9\xFF\x80", "\x01\r\n\t\x7F", "0\0x5"s, ""};
    for (const auto& text : texts) {
        EXPECT_EQ(bytes_of_command(text, text, text, 102),
                  frame(job_command(text, text, text, 102)));
    }
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
