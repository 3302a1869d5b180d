// A simulated service on a thread and main context of its own, for tests and benchmarks.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>

#include "glib_support.h"
#include "printer_service.h"

namespace printer_simulator {

// Starts a thread, makes a listening service there, and serves until it is destroyed.
//
// The observer's functions are called on the service's thread.
class ServiceThread {
public:
    // Returns when the service listens. Throws std::runtime_error when the port cannot be had.
    explicit ServiceThread(ServiceObserver observer = {}, std::uint16_t port = 0);
    ServiceThread(const ServiceThread&) = delete;
    ServiceThread& operator=(const ServiceThread&) = delete;
    // Drops every connection and joins the thread.
    ~ServiceThread();

    std::uint16_t port() const noexcept { return m_port; }

    // Runs `work` on the service's thread and waits for its end. What it throws is thrown here.
    // Not to be called from the service's own thread.
    void call(const std::function<void(PrinterService&)>& work);

private:
    void run_on_thread(const std::function<void()>& work);
    void run_next_task();

    GMainContextPtr m_context;
    GMainLoopPtr m_loop;
    std::unique_ptr<PrinterService> m_service; // used on the thread only
    std::uint16_t m_port = 0;
    std::mutex m_tasks_mutex; // guards m_tasks; the main context only wakes the thread up
    std::deque<std::packaged_task<void()>> m_tasks;
    std::thread m_thread;
};

} // namespace printer_simulator
