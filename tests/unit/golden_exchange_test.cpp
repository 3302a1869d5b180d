// The client and the simulated printer service, their exchanges compared byte for byte with the
// captures that the protocol's description shows.

#include <iterator>
#include <mutex>
#include <utility>
#include <vector>

#include "service_thread.h"
#include "test_support.h"
#include "zor_printer_io.h"

namespace {

std::string capture(const std::string& name) {
    std::ifstream file(std::string(ZOR_EXAMPLES) + "/" + name, std::ios::binary);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string with_action(std::string command, int action) {
    const auto place = command.find("<Action>102");
    return command.replace(place + 8, 3, std::to_string(action));
}

class GoldenExchange : public testing::Test {
protected:
    // The frames since the last call: the request and the reply of each exchange.
    std::vector<std::string> take_frames() {
        const std::lock_guard<std::mutex> locker(m_mux);
        return std::exchange(m_frames, {});
    }

    void call(const std::function<void(printer_simulator::PrinterService&)>& work) {
        m_service.call(work);
    }

private:
    std::mutex m_mux; // guards m_frames
    std::vector<std::string> m_frames;
    printer_simulator::ServiceThread m_service{
        {{},
         [this](std::uint64_t /*connection*/, bool /*is_request*/, std::string_view frame) {
             const std::lock_guard<std::mutex> locker(m_mux);
             m_frames.emplace_back(frame);
         }},
        1753};
};

TEST_F(GoldenExchange, OfStatusRequests) {
    get_updated_printer_status(nullptr);
    EXPECT_EQ(take_frames().at(1).substr(8), capture("status-reply-idle.xml"));
    call([](auto& service) {
        service.publish_error(
            {"Front Desk", "17", "110", "3", "Print ribbon out or missing.", "0"});
    });
    EXPECT_EQ(capture("status-reply-show.bin").substr(8), capture("status-reply-show.xml"));
    const auto first = get_updated_printer_status(nullptr);
    EXPECT_EQ(take_frames(), (std::vector<std::string>{capture("status-request-first.bin"),
                                                       capture("status-reply-show.bin")}));
    ASSERT_EQ(first.errors.size(), 1U);
    EXPECT_EQ(first.errors[0].printer_name, "Front Desk");
    EXPECT_EQ(first.errors[0].gui_action_code, SHOW_ERROR);

    call([](auto& service) { service.clear("Front Desk", "17"); });
    const auto later = get_updated_printer_status(&first);
    const auto frames = take_frames();
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_EQ(frames[0], capture("status-request-later.bin"));
    EXPECT_EQ(frames[1].substr(8), capture("status-reply-remove.xml"));
    ASSERT_EQ(later.errors.size(), 1U);
    EXPECT_EQ(later.errors[0].gui_action_code, REMOVE_ERROR);
}

TEST_F(GoldenExchange, WithAnEmptyReply) {
    call([](auto& service) { service.publish_raw(""); });
    const auto status = get_updated_printer_status(nullptr);
    EXPECT_EQ(take_frames(), (std::vector<std::string>{capture("status-request-first.bin"),
                                                       capture("reply-empty.bin")}));
    EXPECT_EQ(status.raw_status_text, "");
    get_updated_printer_status(&status);
    EXPECT_EQ(take_frames().front(), capture("status-request-first.bin"));
}

TEST_F(GoldenExchange, OfJobCommands) {
    for (const auto& [action, file] :
         {std::pair{100, "command-cancel.bin"}, {101, "command-resume.bin"}}) {
        call([](auto& service) {
            service.publish_error({"Front Desk", "17", "110", "3", "", "0"});
        });
        execute_printer_job_command("Front Desk", "17", "110", action);
        const auto frames = take_frames();
        EXPECT_EQ(frames.at(0), capture(file));
        EXPECT_EQ(frames.at(1).substr(8), capture("command-reply.xml"));
    }
}

TEST_F(GoldenExchange, OfJobCommandsWithEveryEscapedCharacter) {
    for (const int action : {100, 101, 102}) {
        execute_printer_job_command("Desk \"A\" & 'B' <1>", "a<b", "105", action);
        EXPECT_EQ(take_frames().front(), with_action(capture("command-retry.bin"), action));
    }
}

} // namespace
