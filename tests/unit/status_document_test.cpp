// What the client reads in the printer service's documents.

#include <optional>

#include "printer_io_support.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using namespace std::string_literals;

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
    return {SHOW_ERROR, "Front desk", "17", "0042", "Ribbon out", "3", "S-9"};
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
