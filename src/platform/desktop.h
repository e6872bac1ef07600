#pragma once

#include <string>

namespace tobrel {

inline constexpr const char* NSPasteboardTypeString = "public.utf8-plain-text";

// The general pasteboard. Main thread only.
class NSPasteboard {
public:
    virtual ~NSPasteboard() = default;
    virtual void clearContents() = 0;
    virtual void setString(const std::string& text, const std::string& type) = 0;
};

class NSWorkspace {
public:
    virtual ~NSWorkspace() = default;
    // Hands the address to the default browser without waiting for it. Main thread only.
    virtual bool openURL(const std::string& url) = 0;
};

class NSSound {
public:
    virtual ~NSSound() = default;
    virtual void beep() = 0;
};

}  // namespace tobrel
