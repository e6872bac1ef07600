#include <signal.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <thread>

#include "devserver/options.h"
#include "devserver/server.h"

using namespace tobrel::devserver;

namespace {

int failed(const std::string& sentence, int status = 1) {
    std::cerr << "tobrel-devserver: " << sentence << '\n';
    return status;
}

int listItems(Tree& tree, const std::string& user) {
    for (const Item& item : tree.all(user)) {
        if (item.path.find('\n') != std::string::npos)
            std::cerr << "tobrel-devserver: left out a path with a line break\n";
        else
            std::cout << identifierOf(user, item.path) << '\t' << item.path << '\n';
    }
    return std::cout.flush() ? 0 : 1;
}

int run(const Options& options) {
    Accounts accounts(options.accounts);
    Storage storage(options.storage);
    for (const Account& account : accounts.all())
        if (!storage.at({account.email, ""}))
            return failed("there is no folder " + account.email + " in " + options.storage);
    Database database(options.database);
    if (!options.listItems.empty()) {
        Grants grants(database);
        Tree tree(storage, grants);
        return listItems(tree, accounts.withEmail(options.listItems)->email);
    }

    std::ofstream file;
    if (!options.log.empty()) {
        file.open(options.log, std::ios::app);
        if (!file) return failed("cannot write to " + options.log);
    }

    sigset_t ends;
    sigemptyset(&ends);
    for (int signal : {SIGINT, SIGTERM}) sigaddset(&ends, signal);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);

    Server server(options, accounts, options.log.empty() ? std::cerr : file);
    int port = server.bind();
    if (port == 0) return failed("cannot listen on 127.0.0.1:" + std::to_string(options.port));
    std::string base = "http://127.0.0.1:" + std::to_string(port);
    Service service(accounts, storage, database, Clock(options.now), base);
    std::thread([&] { server.serve(service); }).detach();
    std::cout << "listening on " << base << '\n' << std::flush;

    int signal;
    sigwait(&ends, &signal);
    // At once, whatever still stalls; every log line and every change of the database is written already.
    std::_Exit(0);
}

}  // namespace

int main(int count, char* words[]) {
    auto parsed = parseOptions(count, words);
    if (auto* information = std::get_if<Information>(&parsed)) {
        std::cout << information->text;
        return 0;
    }
    if (auto* error = std::get_if<UsageError>(&parsed)) return failed(error->sentence, 2);
    try {
        return run(std::get<Options>(parsed));
    } catch (const std::exception& error) {
        return failed(error.what());
    }
}
