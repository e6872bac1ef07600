#include "platform/linux_online/session/bounded_calls.h"

namespace tobrel {

BoundedCalls::Answer BoundedCalls::await(const Start& start, Clock::time_point deadline) {
    Owned<GCancellable> cancellable(g_cancellable_new());
    Call call = begin(start, cancellable.get());
    auto isAnswered = [&] { return *call != nullptr; };
    if (!awaitUntil(isAnswered, deadline)) {
        g_cancellable_cancel(cancellable.get());
        awaitUntil(isAnswered, Clock::now() + std::chrono::milliseconds(100));
    }
    return std::move(*call);
}

bool BoundedCalls::awaitUntil(const std::function<bool()>& condition, Clock::time_point deadline) {
    auto wait = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    bool expired = wait <= 0;
    auto expire = [](gpointer data) -> gboolean {
        *static_cast<bool*>(data) = true;
        return G_SOURCE_REMOVE;
    };
    GSource* timer = g_timeout_source_new(expired ? 0 : static_cast<guint>(wait));
    g_source_set_callback(timer, expire, &expired, nullptr);
    g_source_attach(timer, context_.get());
    while (!condition() && !expired && !interrupted_) g_main_context_iteration(context_.get(), TRUE);
    g_source_destroy(timer);
    g_source_unref(timer);
    return condition();
}

void BoundedCalls::interrupt() {
    interrupted_ = true;
    g_main_context_wakeup(context_.get());
}

void BoundedCalls::drain() {
    while (g_main_context_iteration(context_.get(), FALSE)) {
    }
}

BoundedCalls::Call BoundedCalls::begin(const Start& start, GCancellable* cancellable) {
    auto call = std::make_shared<Answer>();
    auto finished = [](GObject*, GAsyncResult* result, gpointer data) {
        std::unique_ptr<Call> call(static_cast<Call*>(data));
        (*call)->reset(static_cast<GAsyncResult*>(g_object_ref(result)));
    };
    start(cancellable, finished, std::make_unique<Call>(call).release());
    return call;
}

}  // namespace tobrel
