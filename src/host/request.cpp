#include "host/request.h"

#include <utility>

#include "dispatch/action_view_controller.h"
#include "host/compose.h"
#include "platform/end_signals.h"
#include "platform/front_end.h"
#include "platform/main_loop.h"
#include "platform/work_counter.h"

namespace tobrel::host {

namespace {

class RequestContext : public FPUIActionExtensionContext {
public:
    RequestContext(std::optional<std::string> domainIdentifier, MainLoop& loop)
        : domainIdentifier_(std::move(domainIdentifier)), loop_(loop) {}

    std::optional<std::string> domainIdentifier() const override { return domainIdentifier_; }
    void completeRequest() override { end(std::nullopt); }
    void cancelRequestWithError(const NSError& error) override { end(error); }

    bool ended() const { return ended_; }
    const std::optional<NSError>& error() const { return error_; }

private:
    void end(const std::optional<NSError>& error) {
        if (std::exchange(ended_, true)) return;
        error_ = error;
        loop_.stop();
    }

    const std::optional<std::string> domainIdentifier_;
    MainLoop& loop_;
    bool ended_ = false;
    std::optional<NSError> error_;
};

class RequestSheet : public Sheet {
public:
    RequestSheet(std::shared_ptr<TobrelActionViewController> controller, MainLoop& loop, const WorkCounter& work)
        : controller_(std::move(controller)), loop_(loop), work_(work) {
        controller_->view()->setObserver([this] { changed_ = true; });
        controller_->setSizeObserver([this] { changed_ = true; });
    }
    ~RequestSheet() override {
        controller_->view()->setObserver({});
        controller_->setSizeObserver({});
    }

    NSView& rootView() override { return *controller_->view(); }
    CGSize preferredContentSize() const override { return controller_->preferredContentSize(); }
    bool isWorking() const override { return work_.isWorking(); }
    void close() override {
        loop_.async([controller = controller_] { controller->performSelector("closeSheet:", nullptr); });
    }

    bool takeChange() { return std::exchange(changed_, false); }

private:
    const std::shared_ptr<TobrelActionViewController> controller_;
    MainLoop& loop_;
    const WorkCounter& work_;
    // What loadView made has not been shown yet.
    bool changed_ = true;
};

}  // namespace

std::optional<NSError> runRequest(const Delivery& delivery, Composition& composition) {
    FrontEnd& frontEnd = composition.frontEnd();
    MainLoop& loop = composition.loop();
    // From the request's end on each ends the process: the front end may still wait for a reader that never comes.
    const auto endSignals = composition.takeEndSignals();
    auto context = std::make_shared<RequestContext>(delivery.domainIdentifier, loop);
    auto controller = TobrelActionViewController::initWithNibName(std::nullopt, nullptr);
    controller->setExtensionContext(context);
    controller->loadView();
    RequestSheet sheet(controller, loop, composition.work());
    frontEnd.attach(sheet, loop);

    if (delivery.error)
        controller->prepareForError(*delivery.error);
    else
        controller->prepareForAction(delivery.actionIdentifier, delivery.items);

    if (!context->ended()) {
        if (endSignals) endSignals->setHandler([&sheet] { sheet.close(); });
        loop.setDryHandler([&] { frontEnd.mainQueueRanDry(sheet.takeChange()); });
        frontEnd.appear();
        controller->viewDidAppear();
        if (!context->ended()) loop.run();
        loop.setDryHandler({});
        if (endSignals) endSignals->setHandler({});
    }
    frontEnd.requestEnded(context->error(), sheet.takeChange());
    return context->error();
}

}  // namespace tobrel::host
