// Owners for the GLib and GIO handles that the simulator uses.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include <gio/gio.h>

namespace printer_simulator {

struct GObjectUnref {
    void operator()(gpointer object) const noexcept { g_object_unref(object); }
};

// Owns one reference to a GObject.
template <typename T>
using GObjectPtr = std::unique_ptr<T, GObjectUnref>;

struct GErrorFree {
    void operator()(GError* error) const noexcept { g_error_free(error); }
};

// Owns a GError.
using GErrorPtr = std::unique_ptr<GError, GErrorFree>;

struct GMainContextUnref {
    void operator()(GMainContext* context) const noexcept { g_main_context_unref(context); }
};

// Owns one reference to a GMainContext.
using GMainContextPtr = std::unique_ptr<GMainContext, GMainContextUnref>;

struct GMainLoopUnref {
    void operator()(GMainLoop* loop) const noexcept { g_main_loop_unref(loop); }
};

// Owns one reference to a GMainLoop.
using GMainLoopPtr = std::unique_ptr<GMainLoop, GMainLoopUnref>;

struct GFree {
    void operator()(gpointer memory) const noexcept { g_free(memory); }
};

// Owns text that GLib allocated.
using GTextPtr = std::unique_ptr<char, GFree>;

// Owns a source attached to a main context and detaches it when it goes away.
//
// A handler returns true to be called again. It may reset or destroy its own source: the handler
// object stays alive until it has returned. Use and destroy it on the context's thread.
class MainSource {
public:
    MainSource() = default;
    MainSource(MainSource&& other) noexcept : m_source(std::exchange(other.m_source, nullptr)) {}
    MainSource& operator=(MainSource&& other) noexcept;
    MainSource(const MainSource&) = delete;
    MainSource& operator=(const MainSource&) = delete;
    ~MainSource() { reset(); }

    // Calls `handler` after `interval`, and then every `interval` while it returns true.
    static MainSource timer(GMainContext* context, std::chrono::milliseconds interval,
                            std::function<bool()> handler);

    // Calls `handler` whenever `socket` meets `condition`.
    static MainSource socket_watch(GMainContext* context, GSocket* socket, GIOCondition condition,
                                   std::function<bool()> handler);

    // Calls `handler` whenever the descriptor can be read or its writer has gone.
    static MainSource readable(GMainContext* context, int descriptor,
                               std::function<bool()> handler);

    // Calls `handler` on the context's thread after a Unix signal (SIGTERM, SIGINT, SIGHUP).
    static MainSource unix_signal(GMainContext* context, int signal_number,
                                  std::function<bool()> handler);

    void reset() noexcept;
    explicit operator bool() const noexcept { return m_source != nullptr; }

private:
    explicit MainSource(GSource* source) : m_source(source) {}

    GSource* m_source = nullptr;
};

// The whole content of a file. Throws std::runtime_error with the reason when it cannot be read.
std::string file_content(const std::string& path);

} // namespace printer_simulator
