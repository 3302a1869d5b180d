#include "service_thread.h"

#include <future>

namespace printer_simulator {

namespace {

gboolean run_task(gpointer task) {
    (*static_cast<std::packaged_task<void()>*>(task))();
    return G_SOURCE_REMOVE;
}

} // namespace

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
    GSource* source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(source, run_task, &task, nullptr);
    g_source_attach(source, context_.get());
    g_source_unref(source);
    done.get();
}

} // namespace printer_simulator
