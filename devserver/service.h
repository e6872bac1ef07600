#pragma once

#include <boost/json.hpp>
#include <mutex>
#include <string>

#include "devserver/accounts.h"
#include "devserver/clock.h"
#include "devserver/grants.h"
#include "devserver/links.h"
#include "devserver/tree.h"

namespace tobrel::devserver {

struct Request {
    std::string method;
    // Path and query, as they came.
    std::string target;
    std::string body;
    const Account* account = nullptr;
};

struct Answer {
    int status = 200;
    boost::json::object body;
};

// An answer that the client shows to its user as it stands.
Answer refusal(int status, const std::string& sentence);

// The HTTP API without HTTP: item lookup, grants and share links. Any thread.
class Service {
public:
    // Addresses of links begin with the base, for example "http://127.0.0.1:8080".
    Service(const Accounts& accounts, const Storage& storage, Database& database, Clock clock, std::string base);

    Answer answer(const Request& request);

    // For the pages: who can be signed in and what a user sees in a folder, and what a link covers.
    Answer listing(const Account& account, const std::string& path);
    struct LinkContent {
        Link link;
        bool live = false;
        std::vector<Entry> entries;
    };
    std::optional<LinkContent> linkContent(const std::string& id);

private:
    Answer item(const Request& request, const std::string& identifier);
    Answer grants(const Request& request, const std::string& folderId);
    Answer createGrant(const Request& request, const boost::json::object& body);
    Answer revokeGrant(const Request& request, const std::string& id);
    Answer findShares(const Request& request, const boost::json::object& body);
    Answer createShare(const Request& request, const boost::json::object& body);
    boost::json::object described(const Link& link) const;

    const Accounts& accounts_;
    const Storage& storage_;
    Grants grants_;
    Links links_;
    Tree tree_;
    Clock clock_;
    std::string base_;
    std::mutex mutex_;
};

}  // namespace tobrel::devserver
