#include "file_managers/registered_roots.h"

#include <gio/gio.h>

namespace tobrel::menu {

struct RegisteredRoots::State {
    std::function<void()> changed;
    std::string stamp;
    DomainRoots roots;
    bool reading = false;
};

RegisteredRoots::RegisteredRoots(std::function<void()> changed) : state_(std::make_shared<State>()) {
    state_->changed = std::move(changed);
    state_->stamp = registryStamp();
    read(state_);
}

const DomainRoots& RegisteredRoots::look() {
    if (std::string stamp = registryStamp(); !state_->reading && stamp != state_->stamp) {
        state_->stamp = std::move(stamp);
        read(state_);
    }
    return state_->roots;
}

void RegisteredRoots::read(const std::shared_ptr<State>& state) {
    state->reading = true;
    using Holder = std::shared_ptr<State>;
    auto finished = [](GObject*, GAsyncResult* result, gpointer data) {
        std::unique_ptr<Holder> holder(static_cast<Holder*>(data));
        std::unique_ptr<DomainRoots> roots(
            static_cast<DomainRoots*>(g_task_propagate_pointer(G_TASK(result), nullptr)));
        State& state = **holder;
        state.reading = false;
        if (!roots || *roots == state.roots) return;
        state.roots = std::move(*roots);
        state.changed();
    };
    GTask* task = g_task_new(nullptr, nullptr, finished, new Holder(state));
    g_task_run_in_thread(task, [](GTask* task, gpointer, gpointer, GCancellable*) {
        auto destroy = [](gpointer roots) { delete static_cast<DomainRoots*>(roots); };
        g_task_return_pointer(task, new DomainRoots(readDomainRoots()), destroy);
    });
    g_object_unref(task);
}

}  // namespace tobrel::menu
