#pragma once

#include <glib.h>

#include <deque>
#include <map>
#include <memory>
#include <mutex>

#include "platform/main_loop.h"

namespace tobrel {

// The main queue on GLib's default main context, for a toolkit that lives on it. What the toolkit does for itself says
// nothing dry: its handlers queue blocks. Blocks that are queued until destruction and have not run by then are
// dropped.
class GlibMainLoop : public MainLoop {
public:
    GlibMainLoop();
    ~GlibMainLoop() override;
    GlibMainLoop(const GlibMainLoop&) = delete;
    GlibMainLoop& operator=(const GlibMainLoop&) = delete;

    void async(std::function<void()> block) override;
    void watchInput(int descriptor, std::function<void()> readable) override;
    void unwatchInput(int descriptor) override;
    [[nodiscard]] std::unique_ptr<Timer> startTimer(std::chrono::milliseconds delay,
                                                    std::function<void()> handler) override;
    void setDryHandler(std::function<void()> handler) override;
    void run() override;
    void stop() override { state_->stopped = true; }

private:
    // Shared with the sources, which may outlive the loop.
    struct State {
        bool stopped = false;
        bool worked = false;
    };
    struct SourceEnd {
        void operator()(GSource* source) const;
    };
    using Source = std::unique_ptr<GSource, SourceEnd>;
    class GlibTimer;

    std::function<void()> nextBlock();
    void runBlocks();

    GMainContext* const context_;
    const std::shared_ptr<State> state_ = std::make_shared<State>();
    std::map<int, Source> inputs_;
    // Shared, because a handler may replace itself while it runs.
    std::shared_ptr<const std::function<void()>> dryHandler_;

    std::mutex mutex_;
    std::deque<std::function<void()>> blocks_;  // guarded by mutex_
};

}  // namespace tobrel
