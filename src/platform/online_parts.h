#pragma once

namespace tobrel {

class BatchQueue;
class Keychain;
class TextServices;
class URLSession;

// The real parts that only the server's commands need, with what must be ended in order.
class OnlineParts {
public:
    virtual ~OnlineParts() = default;
    virtual URLSession& urlSession() = 0;
    virtual BatchQueue& requestQueue() = 0;
    virtual Keychain& keychain() = 0;
    virtual TextServices& text() = 0;
    // Ends all work of requestQueue() and urlSession(), even what waits for the user; the latter may not be asked for
    // any more.
    virtual void endRequests() = 0;
};

}  // namespace tobrel
