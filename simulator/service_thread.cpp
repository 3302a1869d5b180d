#include "service_thread.h"

namespace printer_simulator {

ServiceThread::ServiceThread(ServiceObserver observer, std::uint16_t port)
    : m_context(g_main_context_new()), m_loop(g_main_loop_new(m_context.get(), FALSE)) {
    m_thread = std::thread([this] {
        g_main_context_push_thread_default(m_context.get());
        g_main_loop_run(m_loop.get());
        // What was cancelled when the service went still has its last callbacks waiting.
        while (g_main_context_iteration(m_context.get(), FALSE)) {
        }
        g_main_context_pop_thread_default(m_context.get());
    });
    try {
        run_on_thread([&] {
            m_service = std::make_unique<PrinterService>(std::move(observer));
            m_service->listen(port);
            m_port = m_service->port();
        });
    } catch (...) {
        run_on_thread([this] {
            m_service.reset();
            g_main_loop_quit(m_loop.get());
        });
        m_thread.join();
        throw;
    }
}

ServiceThread::~ServiceThread() {
    run_on_thread([this] {
        m_service.reset();
        g_main_loop_quit(m_loop.get());
    });
    m_thread.join();
}

void ServiceThread::call(const std::function<void(PrinterService&)>& work) {
    run_on_thread([&] { work(*m_service); });
}

void ServiceThread::run_on_thread(const std::function<void()>& work) {
    std::packaged_task<void()> task(work);
    std::future<void> done = task.get_future();
    {
        const std::lock_guard lock(m_tasks_mutex);
        m_tasks.push_back(std::move(task));
    }
    const auto run_next = +[](gpointer self) -> gboolean {
        static_cast<ServiceThread*>(self)->run_next_task();
        return G_SOURCE_REMOVE;
    };
    g_main_context_invoke_full(m_context.get(), G_PRIORITY_DEFAULT, run_next, this, nullptr);
    done.get();
}

void ServiceThread::run_next_task() {
    std::packaged_task<void()> task;
    {
        const std::lock_guard lock(m_tasks_mutex);
        task = std::move(m_tasks.front());
        m_tasks.pop_front();
    }
    task();
}

} // namespace printer_simulator
