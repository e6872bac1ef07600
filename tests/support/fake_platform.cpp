#include "support/fake_platform.h"

#include <algorithm>
#include <stdexcept>
#include <thread>
#include <utility>

namespace tobrel::testing {

void onOtherThreads(const std::vector<std::function<void()>>& blocks) {
    std::vector<std::jthread> threads;
    for (auto& block : blocks) threads.emplace_back(block);
}

void ManualMainQueue::async(std::function<void()> block) {
    std::lock_guard lock(mutex_);
    blocks_.push_back(std::move(block));
}

bool ManualMainQueue::runOne() {
    std::function<void()> block;
    {
        std::lock_guard lock(mutex_);
        if (blocks_.empty()) return false;
        block = std::move(blocks_.front());
        blocks_.pop_front();
    }
    block();
    return true;
}

void ManualMainQueue::run() {
    while (runOne()) continue;
}

void FakeURLSession::dataTask(URLRequest request, std::function<void(URLSessionAnswer)> completion) {
    std::lock_guard lock(mutex_);
    requests_.push_back(std::move(request));
    completions_.push_back(std::move(completion));
}

std::vector<URLRequest> FakeURLSession::requests() const {
    std::lock_guard lock(mutex_);
    return requests_;
}

std::vector<std::string> FakeURLSession::lines() const {
    std::vector<std::string> lines;
    for (auto& request : requests())
        lines.push_back(request.httpMethod + " " + request.url + (request.httpBody ? " " + *request.httpBody : ""));
    return lines;
}

std::function<void()> FakeURLSession::taken(std::size_t request, URLSessionAnswer answer) {
    std::lock_guard lock(mutex_);
    auto completion = std::exchange(completions_.at(request), nullptr);
    if (!completion) throw std::logic_error("request answered twice: " + requests_[request].url);
    return [completion = std::move(completion), answer = std::move(answer)] { completion(answer); };
}

void FakeURLSession::answer(std::size_t request, URLSessionAnswer answer) {
    onOtherThreads({taken(request, std::move(answer))});
}

void FakeURLSession::answerLast(URLSessionAnswer given) {
    answer(requests().size() - 1, std::move(given));
}

void FakeURLSession::answerAtOnce(const std::map<std::size_t, URLSessionAnswer>& answers) {
    std::vector<std::function<void()>> blocks;
    for (auto& [request, answer] : answers) blocks.push_back(taken(request, answer));
    onOtherThreads(blocks);
}

void FakeBatchQueue::async(std::function<void(std::any& shared)> block) {
    if (holds) return held_.push_back(std::move(block));
    std::any alone;
    block(alone);
}

void FakeBatchQueue::runBatch() {
    std::any shared;
    for (auto& block : std::exchange(held_, {})) block(shared);
}

URLSessionAnswer answered(int status, std::string body) {
    return {std::move(body), status, std::nullopt};
}

URLSessionAnswer unreachable(std::string sentence) {
    return {std::nullopt, std::nullopt, NSError{"NSURLErrorDomain", -1004, std::move(sentence)}};
}

class FakeFileProvider::Manager : public NSFileProviderManager {
public:
    Manager(FakeFileProvider& provider, std::string domain) : provider_(provider), domain_(std::move(domain)) {}

    void getUserVisibleURLForItemIdentifier(
        const NSFileProviderItemIdentifier& item,
        std::function<void(std::optional<NSURL>, std::optional<NSError>)> completion) override {
        provider_.hold("url for " + item, [&provider = provider_, item, completion = std::move(completion)] {
            auto found = provider.paths.find(item);
            if (found == provider.paths.end()) return completion(std::nullopt, provider.error);
            completion(NSURL{found->second}, std::nullopt);
        });
    }

    void signalEnumeratorForContainerItemIdentifier(const NSFileProviderItemIdentifier& container,
                                                    std::function<void(std::optional<NSError>)> completion) override {
        provider_.hold("signal " + container + " in " + domain_,
                       [completion = std::move(completion)] { completion(std::nullopt); });
    }

private:
    FakeFileProvider& provider_;
    const std::string domain_;
};

void FakeFileProvider::add(const std::string& item, const std::string& path) {
    paths[item] = path;
    identifiers[path] = item;
}

std::vector<std::string> FakeFileProvider::calls() const {
    std::lock_guard lock(mutex_);
    return calls_;
}

void FakeFileProvider::release(const std::string& question) {
    Held held;
    {
        std::lock_guard lock(mutex_);
        auto found = std::find_if(held_.begin(), held_.end(), [&](auto& each) { return each.question == question; });
        if (found == held_.end()) throw std::logic_error("nothing held under: " + question);
        held = std::move(*found);
        held_.erase(found);
    }
    onOtherThreads({held.answer});
}

void FakeFileProvider::releaseAll() {
    while (true) {
        std::vector<std::function<void()>> answers;
        {
            std::lock_guard lock(mutex_);
            for (auto& held : std::exchange(held_, {})) answers.push_back(std::move(held.answer));
        }
        if (answers.empty()) return;
        onOtherThreads(answers);
    }
}

void FakeFileProvider::getDomainsWithCompletionHandler(
    std::function<void(std::vector<NSFileProviderDomain>, std::optional<NSError>)> completion) {
    hold("domains",
         [this, completion = std::move(completion)] { completion(domains, domains.empty() ? error : std::nullopt); });
}

std::shared_ptr<NSFileProviderManager> FakeFileProvider::managerForDomain(const NSFileProviderDomain& domain) {
    if (domainsWithoutManager.contains(domain.identifier)) return nullptr;
    return std::make_shared<Manager>(*this, domain.identifier);
}

void FakeFileProvider::getIdentifierForUserVisibleFileAtURL(
    const NSURL& url,
    std::function<void(std::optional<NSFileProviderItemIdentifier>, std::optional<std::string>, std::optional<NSError>)>
        completion) {
    hold("identifier for " + url.path, [this, path = url.path, completion = std::move(completion)] {
        auto found = identifiers.find(path);
        if (found == identifiers.end()) return completion(std::nullopt, std::nullopt, error);
        completion(found->second, domains.front().identifier, std::nullopt);
    });
}

bool FakeFileProvider::startAccessingSecurityScopedResource(const NSURL& url) {
    record("start " + url.path);
    return !inaccessiblePaths.contains(url.path);
}

void FakeFileProvider::stopAccessingSecurityScopedResource(const NSURL& url) {
    record("stop " + url.path);
}

void FakeFileProvider::record(const std::string& call) {
    std::lock_guard lock(mutex_);
    calls_.push_back(call);
}

void FakeFileProvider::hold(const std::string& question, std::function<void()> answer) {
    std::lock_guard lock(mutex_);
    calls_.push_back(question);
    held_.push_back({question, std::move(answer)});
}

void RecordingLog::write(OSLogType type, std::string_view subsystem, std::string_view category,
                         std::string_view message) {
    std::string line = type == OSLogType::info ? "info: " : "error: ";
    if (subsystem != "com.qelmo.tobrel.actionui" || category != "actions")
        line.append(subsystem).append("/").append(category).append(": ");
    std::lock_guard lock(mutex_);
    lines_.push_back(line.append(message));
}

std::vector<std::string> RecordingLog::lines() const {
    std::lock_guard lock(mutex_);
    return lines_;
}

void RecordingLog::clear() {
    std::lock_guard lock(mutex_);
    lines_.clear();
}

void FakePlatform::write(const std::string& name, const std::string& content) {
    std::filesystem::create_directories(file(""));
    writeFile(file(name), content);
}

void FakePlatform::configure(const std::string& server, const std::string& apiKey) {
    write("config.json", R"({"server":")" + server + R"(","api_key":")" + apiKey + "\"}");
}

}  // namespace tobrel::testing
