#include "printer_service.h"

#include <map>

#include <gtest/gtest.h>

#include "command_interpreter.h"
#include "service_thread.h"
#include "simulator_test_support.h"
#include "wire.h"

namespace printer_simulator::test {
namespace {

const PrinterError RIBBON{"Front Desk", "17", "110", "3", "Print ribbon out or missing.", "0"};
const PrinterError CARD{"Back Office", "4", "111", "4", "Card not picked.", "0"};

// Longer than any test: what takes that time must not be waited for.
constexpr std::chrono::minutes LONG{10};

class Service : public testing::Test {
protected:
    void publish(const PrinterError& error) {
        m_service.call([&](PrinterService& service) { service.publish_error(error); });
    }
    void set_fault(std::string_view words) {
        Tokenizer tokenizer(words);
        const Fault fault = parse_fault_words(tokenizer);
        m_service.call([&](PrinterService& service) { service.set_fault(fault); });
    }
    void hold(std::chrono::milliseconds time) {
        m_service.call([time](PrinterService& service) { service.set_hold(time); });
    }
    void carry_out(std::chrono::milliseconds time) {
        m_service.call([time](PrinterService& service) { service.set_carry_out(time); });
    }
    // Sends a status request and leaves it without its answer.
    std::unique_ptr<WireClient> ask(std::string_view quoted) {
        auto client = std::make_unique<WireClient>(m_service.port());
        client->send(framed(std::string(STATUS_REQUEST) + std::string(quoted)));
        return client;
    }
    static std::string answer_to(WireClient& client) {
        return client.receive_until_closed().substr(PREFIX_SIZE);
    }
    std::string poll(std::string_view quoted = {}) { return poll_status(m_service.port(), quoted); }
    std::string raw_poll() { return raw_exchange(m_service.port(), STATUS_REQUEST); }
    void command(int action, std::string_view job = "17") {
        framed_exchange(m_service.port(), job_command("Front Desk", job, "110", action));
    }
    bool refuses() const {
        try {
            const WireClient client(m_service.port());
            return false;
        } catch (const std::runtime_error&) {
            return true;
        }
    }

    OccurrenceLog m_log;
    ServiceThread m_service{m_log.observer()};
};

TEST_F(Service, AnswersAnExchangeBesideSilentConnections) {
    std::vector<std::unique_ptr<WireClient>> silent;
    for (int i = 0; i < 50; ++i) {
        silent.push_back(std::make_unique<WireClient>(m_service.port()));
    }
    EXPECT_EQ(poll(), idle_document()); // over a silent connection and one that is served
    silent.clear();
    m_log.wait_for("connection closed", 52);
    std::map<std::string, int> outcomes;
    for (const Occurrence& closed : m_log.all("connection closed")) {
        ++outcomes[closed.value("outcome")];
        EXPECT_EQ(closed.value("received"), closed.value("outcome") == "served" ? "30" : "0");
    }
    EXPECT_EQ(outcomes, (std::map<std::string, int>{{"served", 1}, {"silent", 51}}));
}

TEST_F(Service, TakesARequestInPiecesOfOneByte) {
    WireClient client(m_service.port());
    for (const char byte : framed(STATUS_REQUEST)) {
        client.send({&byte, 1});
    }
    EXPECT_EQ(client.receive_until_closed(), framed(idle_document()));
}

TEST_F(Service, ServesOthersWhileOneRequestIsIncomplete) {
    WireClient half(m_service.port());
    const std::string frame = framed(STATUS_REQUEST);
    half.send(frame.substr(0, 12));
    EXPECT_EQ(poll(), idle_document());
    half.send(frame.substr(12));
    EXPECT_EQ(half.receive_until_closed(), framed(idle_document()));
}

TEST_F(Service, AnswersAClientThatHasShutDownItsSendingSideAtOnceAndLate) {
    for (const char* fault : {"none", "delay 50ms"}) {
        set_fault(fault);
        WireClient client(m_service.port());
        client.send(framed(STATUS_REQUEST));
        client.shut_down_sending();
        EXPECT_EQ(client.receive_until_closed(), framed(idle_document())) << fault;
    }
}

TEST_F(Service, ServesOthersWhileAClientDoesNotReadItsReply) {
    set_fault("big 64M times 1");
    WireClient slow(m_service.port());
    slow.send(framed(STATUS_REQUEST));
    m_log.wait_for("fault ended");
    EXPECT_EQ(poll(), idle_document());
    EXPECT_EQ(slow.receive_until_closed().size(), PREFIX_SIZE + (64U << 20));
}

TEST_F(Service, ReportsAConnectionThatEndsInsideARequest) {
    {
        WireClient client(m_service.port());
        client.send(framed(STATUS_REQUEST).substr(0, 20));
    }
    const Occurrence closed = m_log.wait_for("connection closed");
    EXPECT_EQ(closed.value("outcome"), "broken");
    EXPECT_FALSE(closed.is_routine());
}

TEST_F(Service, ClosesOnALengthThatCannotBeMeant) {
    WireClient client(m_service.port());
    client.send(frame_prefix(UINT64_MAX));
    EXPECT_EQ(client.receive_until_closed(), "");
    EXPECT_EQ(m_log.wait_for("request refused").value("announced"), "18446744073709551615");
}

TEST_F(Service, TakesAQuotedTextOfAMebibyteWithZeroBytes) {
    std::string text(1 << 20, 'x');
    text[1000] = '\0';
    m_service.call([&](PrinterService& service) { service.publish_raw(text); });
    EXPECT_EQ(poll(), text);
    publish(RIBBON);
    EXPECT_EQ(element(poll(text), "PrinterName"), "Front Desk");
}

TEST_F(Service, ShowsACommandWithItsExactText) {
    publish({"A & \"B\"", "17", "110", "3", "", "0"});
    const std::string request = job_command("A &amp; &quot;B&quot;", "17", "110", ACTION_RETRY);
    EXPECT_EQ(framed_exchange(m_service.port(), request), action_result_document("accepted"));
    const Occurrence shown = m_log.wait_for("request command");
    EXPECT_EQ(shown.value("printer"), "A & \"B\"");
    EXPECT_EQ(shown.value("job"), "17");
    EXPECT_EQ(shown.value("action"), "102");
    EXPECT_EQ(shown.value("action_name"), "retry");
    EXPECT_EQ(shown.value("error_code"), "110");
    EXPECT_EQ(shown.value("known"), "yes");
    EXPECT_EQ(shown.value("text"), request);
}

TEST_F(Service, ReportsAndAnswersOddRequests) {
    publish(RIBBON);
    const auto answer = [&](std::string_view request) {
        return element(framed_exchange(m_service.port(), request), "Result");
    };
    EXPECT_EQ(answer(job_command("Front Desk", "99", "110", ACTION_CANCEL)), "unknown-job");
    EXPECT_EQ(m_log.wait_for("request command").value("known"), "no");
    EXPECT_EQ(answer(job_command("Front Desk", "17", "110", 7)), "unknown-action");
    EXPECT_EQ(m_log.wait_for("request command", 2).value("action_name"), "unknown");
    EXPECT_EQ(answer("hello\xff"), "unreadable-request");
    EXPECT_EQ(m_log.wait_for("request unreadable").value("text"), "hello\xff");
    EXPECT_EQ(answer(""), "unreadable-request");
    EXPECT_EQ(element(poll(), "PrinterName"), "Front Desk");
}

TEST_F(Service, HidesPollsWithoutNewsAsRoutine) {
    publish(RIBBON);
    const std::string first = poll();
    poll(first);
    EXPECT_FALSE(m_log.wait_for("reply status").is_routine());
    EXPECT_TRUE(m_log.wait_for("reply status", 2).is_routine());
    EXPECT_TRUE(m_log.wait_for("connection opened").is_routine());
}

TEST_F(Service, RefusesConnectsOnRequestAndTakesThemAgain) {
    set_fault("refuse");
    EXPECT_TRUE(refuses());
    set_fault("none");
    EXPECT_EQ(poll(), idle_document());
}

TEST_F(Service, StaysSilentOnRequest) {
    set_fault("silent");
    WireClient client(m_service.port());
    client.send(framed(STATUS_REQUEST));
    EXPECT_EQ(m_log.wait_for("reply status").value("fault"), "silent");
    EXPECT_FALSE(client.is_readable_within(std::chrono::milliseconds(100)));
}

TEST_F(Service, ResetsOnRequest) {
    WireClient closed(m_service.port());
    set_fault("cut 0");
    closed.send(framed(STATUS_REQUEST));
    EXPECT_FALSE(closed.ends_with_reset());
    WireClient reset(m_service.port());
    set_fault("reset times 1");
    reset.send(framed(STATUS_REQUEST));
    EXPECT_TRUE(reset.ends_with_reset());
    EXPECT_EQ(m_log.wait_for("reply status", 2).value("fault"), "reset times 1");
    EXPECT_EQ(poll(), idle_document());
}

TEST_F(Service, CarriesACommandOutAlthoughItsConnectionIsReset) {
    publish(RIBBON);
    const std::string shown = poll();
    set_fault("reset on commands");
    WireClient client(m_service.port());
    client.send(framed(job_command("Front Desk", "17", "110", ACTION_CANCEL)));
    EXPECT_TRUE(client.ends_with_reset());
    EXPECT_NE(poll(shown).find("<RemovePrinterError>"), std::string::npos);
}

TEST_F(Service, DelaysOnRequest) {
    set_fault("delay 80ms");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(poll(), idle_document());
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(79));
}

TEST_F(Service, CutsAReplyAsOftenAsAsked) {
    set_fault("cut 12 times 2");
    const std::string whole = framed(idle_document());
    EXPECT_EQ(raw_poll(), whole.substr(0, 12));
    EXPECT_EQ(raw_poll(), whole.substr(0, 12));
    EXPECT_EQ(raw_poll(), whole);
    m_log.wait_for("fault ended");
}

TEST_F(Service, HoldsTheConnectionOpenAfterALie) {
    set_fault("lie 5000 hold");
    WireClient client(m_service.port());
    client.send(framed(STATUS_REQUEST));
    EXPECT_EQ(client.receive(PREFIX_SIZE + idle_document().size()),
              frame_prefix(5000) + idle_document());
    EXPECT_FALSE(client.is_readable_within(std::chrono::milliseconds(100)));
}

TEST_F(Service, TricklesByteByByte) {
    set_fault("trickle 1ms");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(poll(), idle_document());
    EXPECT_GE(std::chrono::steady_clock::now() - start,
              std::chrono::milliseconds(idle_document().size()));
}

TEST_F(Service, LosesNoEventToRepliesThatTheClientCouldNotUse) {
    for (const char* fault : {"garbage 64 times 1", "empty times 1", "lie 30 times 1"}) {
        publish(RIBBON);
        std::string quoted = poll();
        for (int told_before = 0; told_before < 3; ++told_before) {
            quoted = poll(quoted);
        }
        publish(CARD);
        set_fault(fault);
        const std::string useless =
            raw_exchange(m_service.port(), std::string(STATUS_REQUEST) + quoted)
                .substr(PREFIX_SIZE);
        const std::string taken =
            std::string_view(fault).starts_with("lie") ? useless.substr(0, 30) : useless;
        EXPECT_EQ(element(poll(taken), "PrinterName"), "Back Office") << fault;
        m_service.call([](PrinterService& service) { service.clear_all(); });
    }
}

TEST_F(Service, PadsAReplyToTheWantedSizeAndGoesOnAfterIt) {
    publish(RIBBON);
    publish(CARD);
    set_fault("big 1M times 1");
    const std::string big = poll();
    EXPECT_EQ(big.size(), 1048576U);
    EXPECT_EQ(element(big, "PrinterName"), "Front Desk");
    EXPECT_EQ(element(poll(big), "PrinterName"), "Back Office");
}

TEST_F(Service, SpoilsOnlyTheRepliesItWasToldTo) {
    publish(RIBBON);
    set_fault("cut 0 on commands");
    EXPECT_EQ(element(poll(), "PrinterName"), "Front Desk");
    EXPECT_EQ(raw_exchange(m_service.port(), job_command("Front Desk", "17", "110", 100)), "");
    EXPECT_EQ(m_log.wait_for("request command").value("known"), "yes");
    set_fault("none");
    set_fault("cut 0 on status");
    EXPECT_EQ(raw_poll(), "");
    EXPECT_EQ(framed_exchange(m_service.port(), "x"), action_result_document("unreadable-request"));
}

TEST_F(Service, HoldsARequestUntilThereIsNews) {
    publish(RIBBON);
    const std::string first = poll();
    hold(LONG);
    const auto waiting = ask(first);
    m_log.wait_for("request held");
    EXPECT_EQ(element(poll(), "PrinterName"), "Front Desk") << "this client has news";
    EXPECT_FALSE(waiting->is_readable_within(std::chrono::milliseconds(50)));
    publish(CARD);
    EXPECT_EQ(element(answer_to(*waiting), "PrinterName"), "Back Office");
}

TEST_F(Service, AnswersAHeldRequestAfterItsTime) {
    publish(RIBBON);
    const std::string first = poll();
    hold(std::chrono::milliseconds(80));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(poll(first), first);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(79));
    m_service.call([](PrinterService& service) { service.set_retelling(false); });
    EXPECT_EQ(poll(first), idle_document_after(1));
    m_log.wait_for("request held", 2);
}

TEST_F(Service, TakesCommandsWhileItHoldsRequests) {
    publish(RIBBON);
    const std::string first = poll();
    hold(LONG);
    const auto one = ask(first);
    const auto other = ask(first);
    m_log.wait_for("request held", 2);
    command(ACTION_CANCEL);
    EXPECT_NE(answer_to(*one).find("<RemovePrinterError>"), std::string::npos);
    EXPECT_NE(answer_to(*other).find("<RemovePrinterError>"), std::string::npos);
}

TEST_F(Service, ForgetsAHeldRequestWithItsConnection) {
    hold(LONG);
    const std::string idle = idle_document();
    ask(idle)->reset();
    m_log.wait_for("connection closed");
    const auto waiting = ask(idle);
    m_log.wait_for("request held", 2);
    publish(RIBBON);
    EXPECT_EQ(element(answer_to(*waiting), "PrinterName"), "Front Desk");
    EXPECT_EQ(m_log.all("reply status").size(), 1U);
}

TEST_F(Service, AnswersHeldRequestsWhenItIsToHoldNoLonger) {
    hold(LONG);
    const auto waiting = ask(idle_document());
    m_log.wait_for("request held");
    hold(std::chrono::milliseconds(0));
    EXPECT_EQ(answer_to(*waiting), idle_document());
    EXPECT_EQ(poll(idle_document()), idle_document());
    EXPECT_EQ(m_log.wait_for("settings", 2).line(), "settings retell=on hold_ms=0 carry_out_ms=0");
}

TEST_F(Service, DropsHeldRequestsWhenStopped) {
    hold(LONG);
    const auto waiting = ask(idle_document());
    m_log.wait_for("request held");
    m_service.call([](PrinterService& service) { service.stop(); });
    EXPECT_EQ(waiting->receive_until_closed(), "");
    m_service.call([](PrinterService& service) { service.start(); });
    publish(RIBBON);
    EXPECT_EQ(element(poll(idle_document()), "PrinterName"), "Front Desk");
}

TEST_F(Service, SpoilsTheReplyToAHeldRequest) {
    hold(LONG);
    const auto waiting = ask(idle_document());
    m_log.wait_for("request held");
    set_fault("reset times 1 on status");
    publish(RIBBON);
    EXPECT_TRUE(waiting->ends_with_reset());
    EXPECT_EQ(element(poll(idle_document()), "PrinterName"), "Front Desk");
}

TEST_F(Service, GoesOnTellingAnErrorUntilTheCommandIsCarriedOut) {
    publish(RIBBON);
    const std::string first = poll();
    carry_out(LONG);
    EXPECT_EQ(
        framed_exchange(m_service.port(), job_command("Front Desk", "17", "110", ACTION_RETRY)),
        action_result_document("accepted"));
    EXPECT_EQ(m_log.wait_for("command planned").line(),
              "command planned printer=\"Front Desk\" job=\"17\" action_name=retry "
              "after_ms=600000");
    EXPECT_EQ(poll(first), first);
    EXPECT_EQ(poll(), first);
    m_service.call([](PrinterService& service) {
        service.set_retelling(false);
        EXPECT_EQ(service.model().open_error_count(), 1U);
    });
    EXPECT_EQ(poll(first), idle_document_after(1));
    EXPECT_EQ(poll(), first) << "it is open, and this client has not got it";
}

TEST_F(Service, CarriesACommandOutAfterItsTime) {
    publish(RIBBON);
    const std::string first = poll();
    carry_out(std::chrono::milliseconds(80));
    const auto start = std::chrono::steady_clock::now();
    command(ACTION_RETRY);
    EXPECT_EQ(m_log.wait_for("command carried out").value("withdrawn"), "yes");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(79));
    EXPECT_NE(poll(first).find("<RemovePrinterError>"), std::string::npos);
}

TEST_F(Service, CarriesOutOnlyTheFirstOfTwoCommandsForOneError) {
    publish(RIBBON);
    carry_out(std::chrono::milliseconds(50));
    WireClient first(m_service.port());
    WireClient second(m_service.port());
    m_service.call([&](PrinterService&) { // which takes none before both have come
        first.send(framed(job_command("Front Desk", "17", "110", ACTION_RETRY)));
        second.send(framed(job_command("Front Desk", "17", "110", ACTION_RETRY)));
    });
    EXPECT_EQ(m_log.wait_for("command carried out", 1).value("withdrawn"), "yes");
    EXPECT_EQ(m_log.wait_for("command carried out", 2).value("withdrawn"), "no");
    EXPECT_EQ(m_log.all("request command").size(), 2U);
}

TEST_F(Service, CountsTheTimeToTheNextFailureFromTheCarryingOut) {
    publish(RIBBON);
    carry_out(std::chrono::milliseconds(50));
    m_service.call([](PrinterService& service) {
        service.plan_failures("Front Desk", "17", 1, std::chrono::milliseconds(50));
    });
    const auto start = std::chrono::steady_clock::now();
    command(ACTION_RETRY);
    EXPECT_EQ(m_log.wait_for("event published", 2).value("kind"), "remove");
    EXPECT_EQ(m_log.wait_for("event published", 3).value("kind"), "show");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(98));
}

TEST_F(Service, PlansNoCommandThatItCannotCarryOut) {
    publish(RIBBON);
    carry_out(LONG);
    command(ACTION_CANCEL, "99");
    command(7);
    EXPECT_EQ(m_log.wait_for("reply command", 1).value("result"), "unknown-job");
    EXPECT_EQ(m_log.wait_for("reply command", 2).value("result"), "unknown-action");
    EXPECT_TRUE(m_log.all("command planned").empty());
}

TEST_F(Service, DropsItsConnectionsWhenStoppedAndKeepsItsState) {
    publish(RIBBON);
    const std::string first = poll();
    WireClient client(m_service.port());
    m_log.wait_for("connection opened", 3);
    m_service.call([](PrinterService& service) { service.stop(); });
    EXPECT_EQ(client.receive_until_closed(), "");
    EXPECT_TRUE(refuses());
    m_service.call([](PrinterService& service) { service.start(); });
    EXPECT_EQ(poll(first), first);
}

TEST_F(Service, ComesBackByItself) {
    m_service.call([](PrinterService& service) { service.stop(std::chrono::milliseconds(30)); });
    m_log.wait_for("service started");
    EXPECT_EQ(poll(), idle_document());
}

TEST_F(Service, SurvivesManyRestarts) {
    for (int i = 0; i < 200; ++i) {
        m_service.call([](PrinterService& service) {
            service.stop();
            service.start();
        });
        ASSERT_EQ(poll(), idle_document());
    }
}

TEST_F(Service, CannotHaveAPortThatIsTaken) {
    EXPECT_THROW(ServiceThread({}, m_service.port()), std::runtime_error);
}

TEST_F(Service, ServesManyClientsAtOnce) {
    publish(RIBBON);
    std::vector<std::unique_ptr<WireClient>> clients;
    for (int i = 0; i < 100; ++i) {
        clients.push_back(std::make_unique<WireClient>(m_service.port()));
        clients.back()->send(framed(STATUS_REQUEST));
    }
    for (const auto& client : clients) {
        EXPECT_EQ(element(client->receive_until_closed(), "PrinterName"), "Front Desk");
    }
}

TEST(ServiceObserver, GetsTheExactFrames) {
    std::vector<std::string> requests;
    std::vector<std::string> replies;
    ServiceObserver observer;
    observer.exchanged = [&](std::uint64_t, bool is_request, std::string_view frame) {
        (is_request ? requests : replies).emplace_back(frame);
    };
    {
        const ServiceThread service(observer);
        framed_exchange(service.port(), STATUS_REQUEST);
    }
    EXPECT_EQ(requests, std::vector{framed(STATUS_REQUEST)});
    EXPECT_EQ(replies, std::vector{framed(idle_document())});
}

} // namespace
} // namespace printer_simulator::test
