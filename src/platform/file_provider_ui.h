#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/error.h"
#include "platform/file_provider.h"
#include "platform/view.h"

namespace tobrel {

inline constexpr const char* FPUIErrorDomain = "FPUIErrorDomain";
inline constexpr int FPUIExtensionErrorCodeFailed = 1;

// The request as its host keeps it. Main thread only.
class FPUIActionExtensionContext {
public:
    virtual ~FPUIActionExtensionContext() = default;
    // The domain whose items were selected.
    virtual std::optional<std::string> domainIdentifier() const = 0;
    // The first call of these two ends the request; every later one is without effect.
    virtual void completeRequest() = 0;
    virtual void cancelRequestWithError(const NSError& error) = 0;
};

struct NSBundle {
    std::string path;
};

// An archive to make a controller from.
struct NSCoder {
    bool holdsViewController = false;
};

// What the host drives: one controller a request. Main thread only.
class FPUIActionExtensionViewController : public ActionTarget,
                                          public std::enable_shared_from_this<FPUIActionExtensionViewController> {
public:
    virtual void loadView() = 0;
    virtual void viewDidAppear() {}
    virtual void prepareForAction(const std::string& actionIdentifier,
                                  const std::vector<NSFileProviderItemIdentifier>& itemIdentifiers) = 0;
    virtual void prepareForError(const NSError& error) = 0;

    // Set by the host before any other call, and alive until the last callback has run.
    void setExtensionContext(std::shared_ptr<FPUIActionExtensionContext> context) { context_ = std::move(context); }
    FPUIActionExtensionContext& extensionContext() const { return *context_; }

    // Null before loadView.
    const std::shared_ptr<NSView>& view() const { return view_; }
    CGSize preferredContentSize() const { return preferredContentSize_; }
    // Called when the preferred content size has changed.
    void setSizeObserver(std::function<void()> observer) { sizeObserver_ = std::move(observer); }

protected:
    // The base class's initialisers: false where there is nothing to make a controller from.
    bool initWithNibName(const std::optional<std::string>& nibName, const NSBundle* bundle);
    bool initWithCoder(const NSCoder* coder);

    void setView(std::shared_ptr<NSView> view) { view_ = std::move(view); }
    void setPreferredContentSize(CGSize size);

private:
    std::shared_ptr<FPUIActionExtensionContext> context_;
    std::shared_ptr<NSView> view_;
    CGSize preferredContentSize_;
    std::function<void()> sizeObserver_;
};

}  // namespace tobrel
