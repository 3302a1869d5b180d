#include "service_thread.h"

namespace printer_simulator {

ServiceThread::ServiceThread(ServiceObserver observer, std::uint16_t port)
    : context_(g_main_context_new()), loop_(g_main_loop_new(context_.get(), FALSE)) {
    thread_ = std::thread([this] {
        g_main_context_push_thread_default(context_.get());
        g_main_loop_run(loop_.get());
        // What was cancelled when the service went still has its last callbacks waiting.
        while (g_main_context_iteration(context_.get(), FALSE)) {
        }
        g_main_context_pop_thread_default(context_.get());
    });
    try {
        run_on_thread([&] {
            service_ = std::make_unique<PrinterService>(std::move(observer));
            service_->listen(port);
            port_ = service_->port();
        });
    } catch (...) {
        run_on_thread([this] {
            service_.reset();
            g_main_loop_quit(loop_.get());
        });
        thread_.join();
        throw;
    }
}

ServiceThread::~ServiceThread() {
    run_on_thread([this] {
        service_.reset();
        g_main_loop_quit(loop_.get());
    });
    thread_.join();
}

void ServiceThread::call(const std::function<void(PrinterService&)>& work) {
    run_on_thread([&] { work(*service_); });
}

void ServiceThread::run_on_thread(const std::function<void()>& work) {
    std::packaged_task<void()> task(work);
    std::future<void> done = task.get_future();
    {
        const std::lock_guard lock(tasks_mutex_);
        tasks_.push_back(std::move(task));
    }
    const auto run_next = +[](gpointer self) -> gboolean {
        static_cast<ServiceThread*>(self)->run_next_task();
        return G_SOURCE_REMOVE;
    };
    g_main_context_invoke_full(context_.get(), G_PRIORITY_DEFAULT, run_next, this, nullptr);
    done.get();
}

void ServiceThread::run_next_task() {
    std::packaged_task<void()> task;
    {
        const std::lock_guard lock(tasks_mutex_);
        task = std::move(tasks_.front());
        tasks_.pop_front();
    }
    task();
}

} // namespace printer_simulator
