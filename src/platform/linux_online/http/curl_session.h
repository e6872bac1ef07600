#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/http.h"

namespace tobrel {

class CurlLoop;
struct HTTPTask;

// The HTTP client over libcurl: one worker thread, started with the first task. At most 64 connections.
// Destroy it on another thread than its own.
class CurlURLSession : public URLSession {
public:
    CurlURLSession();
    ~CurlURLSession() override;
    void dataTask(URLRequest request, std::function<void(URLSessionAnswer)> completion) override;

private:
    struct Worker;

    std::unique_ptr<CurlLoop> loop_;
    std::mutex mutex_;
    // Guarded by the mutex.
    std::list<HTTPTask> waiting_;
    std::shared_ptr<const std::vector<std::pair<std::string, std::string>>> headers_;
    std::atomic<bool> stopping_ = false;
    std::thread thread_;
};

}  // namespace tobrel
