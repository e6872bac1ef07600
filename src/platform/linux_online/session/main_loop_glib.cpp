#include "platform/linux_online/session/main_loop_glib.h"

#include <glib-unix.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace tobrel {

namespace {

template <class Value>
gpointer handedOver(Value value) {
    return std::make_unique<Value>(std::move(value)).release();
}

template <class Value>
void takeBack(gpointer data) {
    std::unique_ptr<Value>(static_cast<Value*>(data)).reset();
}

}  // namespace

void GlibMainLoop::SourceEnd::operator()(GSource* source) const {
    g_source_destroy(source);
    g_source_unref(source);
}

// The source keeps what its handler captured until the handler has returned.
class GlibMainLoop::GlibTimer : public Timer {
public:
    GlibTimer(GMainContext* context, guint delay, std::shared_ptr<State> state, std::function<void()> handler)
        : source_(g_timeout_source_new(delay)) {
        g_source_set_callback(source_.get(), &run, handedOver(Due{std::move(state), std::move(handler)}),
                              &takeBack<Due>);
        g_source_attach(source_.get(), context);
    }

private:
    struct Due {
        std::shared_ptr<State> state;
        std::function<void()> handler;
    };
    static gboolean run(gpointer data) {
        auto& due = *static_cast<Due*>(data);
        if (due.state->stopped) return G_SOURCE_CONTINUE;
        due.state->worked = true;
        due.handler();
        return G_SOURCE_REMOVE;
    }

    const Source source_;
};

GlibMainLoop::GlibMainLoop() : context_(g_main_context_default()) {}

GlibMainLoop::~GlibMainLoop() {
    // Outside the lock, and again: what a block captured may queue further blocks while it is destroyed.
    while (nextBlock()) continue;
}

void GlibMainLoop::async(std::function<void()> block) {
    std::lock_guard lock(mutex_);
    blocks_.push_back(std::move(block));
    // Under the lock, so that whoever empties the queue before destruction knows this call to be over.
    if (blocks_.size() == 1) g_main_context_wakeup(context_);
}

void GlibMainLoop::watchInput(int descriptor, std::function<void()> readable) {
    struct Input {
        std::shared_ptr<State> state;
        std::function<void()> readable;
    };
    auto ready = [](gint, GIOCondition, gpointer data) -> gboolean {
        auto& input = *static_cast<Input*>(data);
        if (!input.state->stopped) {
            input.state->worked = true;
            input.readable();
        }
        return G_SOURCE_CONTINUE;
    };
    auto condition = static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR | G_IO_NVAL);
    Source source(g_unix_fd_source_new(descriptor, condition));
    g_source_set_callback(source.get(), G_SOURCE_FUNC(static_cast<GUnixFDSourceFunc>(ready)),
                          handedOver(Input{state_, std::move(readable)}), &takeBack<Input>);
    g_source_attach(source.get(), context_);
    inputs_[descriptor] = std::move(source);
}

void GlibMainLoop::unwatchInput(int descriptor) {
    inputs_.erase(descriptor);
}

std::unique_ptr<Timer> GlibMainLoop::startTimer(std::chrono::milliseconds delay, std::function<void()> handler) {
    auto longest = std::numeric_limits<guint>::max();
    auto bounded = static_cast<guint>(std::clamp<std::int64_t>(delay.count(), 0, longest));
    return std::make_unique<GlibTimer>(context_, bounded, state_, std::move(handler));
}

void GlibMainLoop::setDryHandler(std::function<void()> handler) {
    dryHandler_ = handler ? std::make_shared<const std::function<void()>>(std::move(handler)) : nullptr;
}

void GlibMainLoop::run() {
    state_->worked = true;
    while (!state_->stopped) {
        runBlocks();
        if (state_->stopped) break;
        if (!std::exchange(state_->worked, false)) {
            g_main_context_iteration(context_, true);
        } else if (auto handler = dryHandler_) {
            (*handler)();
        }
    }
    state_->stopped = false;
}

std::function<void()> GlibMainLoop::nextBlock() {
    std::lock_guard lock(mutex_);
    if (blocks_.empty()) return nullptr;
    auto block = std::move(blocks_.front());
    blocks_.pop_front();
    return block;
}

void GlibMainLoop::runBlocks() {
    while (!state_->stopped) {
        auto block = nextBlock();
        if (!block) break;
        block();
        state_->worked = true;
    }
}

}  // namespace tobrel
