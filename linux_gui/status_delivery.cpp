#include "status_delivery.h"

#include <utility>

bool is_same_error(const ZORPrinterError& left, const ZORPrinterError& right) {
    return left.gui_action_code == right.gui_action_code &&
           left.printer_name == right.printer_name && left.printer_job_id == right.printer_job_id &&
           left.error_code == right.error_code && left.error_string == right.error_string &&
           left.error_severity == right.error_severity && left.service_code == right.service_code;
}

StatusDelivery::StatusDelivery(std::shared_ptr<ZORPrinterStatus>& waiting) : m_waiting(waiting) {}

bool StatusDelivery::may_ask() const {
    return m_waiting == nullptr || m_waiting->errors.empty();
}

std::shared_ptr<const ZORPrinterStatus> StatusDelivery::asked() {
    if (std::exchange(m_must_ask_afresh, false)) {
        m_taken_in.reset();
    }
    m_is_under_way = true;
    m_answered_since_asked.clear();
    return m_taken_in;
}

bool StatusDelivery::received(const ZORPrinterStatus& status) {
    if (!std::exchange(m_is_under_way, false)) {
        return true;
    }
    const auto answered_errors = std::exchange(m_answered_since_asked, {});
    for (const auto& error : status.errors) {
        for (const auto& answered_error : answered_errors) {
            if (is_same_error(error, answered_error)) {
                return false;
            }
        }
    }
    m_taken_in = std::make_shared<const ZORPrinterStatus>(status);
    return true;
}

void StatusDelivery::exchange_failed() {
    m_is_under_way = false;
    m_answered_since_asked.clear();
    m_taken_in.reset();
}

std::shared_ptr<ZORPrinterStatus> StatusDelivery::taken() {
    return std::exchange(m_waiting, nullptr);
}

void StatusDelivery::answered(const ZORPrinterError& error) {
    if (m_is_under_way) {
        m_answered_since_asked.push_back(error);
    }
    if (m_waiting == nullptr) {
        return;
    }
    const auto dropped_count =
        std::erase_if(m_waiting->errors, [&error](const ZORPrinterError& waiting_error) {
            return is_same_error(waiting_error, error);
        });
    if (dropped_count > 0 && m_waiting->errors.empty()) {
        m_waiting.reset();
    }
}

void StatusDelivery::command_failed() {
    m_must_ask_afresh = true;
}
