#pragma once

#include <gio/gio.h>

#include <functional>
#include <memory>
#include <stop_token>

namespace lumivane {

struct GObjectRelease {
    void operator()(gpointer object) const { g_object_unref(object); }
};

/// One reference to an object of the library, given back when this goes.
template <typename Object>
using GObjectPointer = std::unique_ptr<Object, GObjectRelease>;

/// Where a call of the library leaves its error. For one call.
class GErrorSlot {
public:
    GErrorSlot() = default;

    ~GErrorSlot() { g_clear_error(&m_error); }

    GErrorSlot(const GErrorSlot&) = delete;
    GErrorSlot& operator=(const GErrorSlot&) = delete;

    GError** out() { return &m_error; }

    /// Null when there was none.
    const GError* get() const { return m_error; }

private:
    GError* m_error = nullptr;
};

/// Ends blocking calls of the library once a stop is requested, from whichever thread.
class GioCancellation {
public:
    explicit GioCancellation(const std::stop_token& stop)
        : m_cancellable(g_cancellable_new())
        , m_onStop(stop, [this] { g_cancellable_cancel(m_cancellable.get()); }) {}

    GCancellable* get() const { return m_cancellable.get(); }

private:
    GObjectPointer<GCancellable> m_cancellable;
    std::stop_callback<std::function<void()>> m_onStop;
};

/// Keeps what the library has to tell this thread from any other thread's event loop, where it
/// would meet objects that are gone.
class GioThreadContext {
public:
    GioThreadContext()
        : m_context(g_main_context_new()) {
        g_main_context_push_thread_default(m_context);
    }

    ~GioThreadContext() {
        while (g_main_context_iteration(m_context, FALSE) == TRUE) {
        }
        g_main_context_pop_thread_default(m_context);
        g_main_context_unref(m_context);
    }

    GioThreadContext(const GioThreadContext&) = delete;
    GioThreadContext& operator=(const GioThreadContext&) = delete;

private:
    GMainContext* m_context;
};

} // namespace lumivane
