#pragma once

#include <gio/gio.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

namespace tobrel {

struct ReleaseGLib {
    void operator()(gchar* text) const { g_free(text); }
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(GMainContext* context) const { g_main_context_unref(context); }
    void operator()(GDBusConnection* connection) const { g_object_unref(connection); }
    void operator()(GVariant* variant) const { g_variant_unref(variant); }
    void operator()(GCancellable* object) const { g_object_unref(object); }
    void operator()(GAsyncResult* object) const { g_object_unref(object); }
};
template <class Type>
using Owned = std::unique_ptr<Type, ReleaseGLib>;

// Waits for GLib's asynchronous calls on a main context of its own. One thread at a time.
class BoundedCalls {
public:
    using Clock = std::chrono::steady_clock;
    using Answer = Owned<GAsyncResult>;
    // Starts a call with these as its last arguments.
    using Start = std::function<void(GCancellable*, GAsyncReadyCallback, gpointer)>;

    // While it lives, what this thread starts answers on the context.
    class Turn {
    public:
        explicit Turn(BoundedCalls& calls) : context_(calls.context_.get()) {
            g_main_context_push_thread_default(context_);
        }
        ~Turn() { g_main_context_pop_thread_default(context_); }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

    private:
        GMainContext* const context_;
    };

    // The call's answer; nothing when the time is up and cancelling it brought none either.
    Answer await(const Start& start, Clock::time_point deadline);
    // Lets calls and signals in until the condition holds. False when the time is up.
    bool awaitUntil(const std::function<bool()>& condition, Clock::time_point deadline);
    // From any thread: the wait under way, and all later ones, end at once without an answer.
    void interrupt();
    bool isInterrupted() const { return interrupted_; }
    // Lets the library clean up.
    void drain();

private:
    // Shared with the library, which may answer after the wait was given up.
    using Call = std::shared_ptr<Answer>;
    static Call begin(const Start& start, GCancellable* cancellable);

    const Owned<GMainContext> context_{g_main_context_new()};
    std::atomic<bool> interrupted_ = false;
};

}  // namespace tobrel
