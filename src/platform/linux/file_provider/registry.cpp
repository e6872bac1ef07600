#include "platform/linux/file_provider/registry.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <thread>

#include "platform/file_descriptor.h"
#include "platform/linux/file_provider/sqlite_database.h"
#include "text/harmless_text.h"

namespace tobrel {

namespace {

constexpr auto longestWait = std::chrono::seconds(5);

constexpr std::int64_t applicationNumber = 0x546F6272;
constexpr std::int64_t schemaVersion = 1;
// The log comes last: what would stay in it if it could not be moved into the database would not go along with that.
constexpr const char* schema = R"(
BEGIN;
CREATE TABLE domain(
    number INTEGER PRIMARY KEY,
    identifier BLOB NOT NULL UNIQUE,
    root BLOB NOT NULL UNIQUE,
    signals INTEGER NOT NULL DEFAULT 0
) STRICT;
CREATE TABLE item(
    domain INTEGER NOT NULL,
    item BLOB NOT NULL,
    path BLOB NOT NULL,
    PRIMARY KEY(domain, item)
) STRICT, WITHOUT ROWID;
CREATE UNIQUE INDEX item_path ON item(domain, path);
PRAGMA application_id = 1416585842;
PRAGMA user_version = 1;
COMMIT;
PRAGMA journal_mode = WAL;
)";

Failure noDomain(std::string_view identifier) {
    return {"There is no domain " + inQuotes(identifier) + "."};
}

bool isIdentifier(std::string_view bytes) {
    return !bytes.empty() && bytes.find('\0') == bytes.npos;
}

std::string sentenceFor(SqliteFault fault, const std::string& file) {
    std::string registry = "The domain registry " + harmless(file);
    switch (fault) {
        case SqliteFault::busy:
            return registry + " is in use by another program; try again.";
        case SqliteFault::noAccess:
            return registry + " cannot be opened; check the permissions of the file and its folder.";
        case SqliteFault::full:
            return registry + " cannot grow: the disk is full.";
        case SqliteFault::unreadable:
            return registry + " cannot be read or written.";
        case SqliteFault::damaged:
        case SqliteFault::notUnique:
            break;
    }
    return registry + " is damaged; move it away and add the domains again.";
}

bool isFolder(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// With its parents, for the user alone.
void makeFolder(const std::string& path) {
    for (std::size_t slash = path.find('/', 1); slash != path.npos; slash = path.find('/', slash + 1))
        mkdir(path.substr(0, slash).c_str(), 0700);
    if (mkdir(path.c_str(), 0700) != 0 && !isFolder(path))
        throw Failure{"The folder " + harmless(path) + " cannot be made: " + std::strerror(errno) + "."};
}

// Held by whoever makes the registry, so that two that come first do not make two.
class CreationLock {
public:
    explicit CreationLock(const std::string& folder)
        : descriptor_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        auto end = std::chrono::steady_clock::now() + longestWait;
        while (flock(descriptor_.number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
            if (std::chrono::steady_clock::now() > end) throw SqliteFault::busy;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

private:
    const FileDescriptor descriptor_;
};

// 64 MiB: with SQLite's own 2 MiB a million items take more than twice as long.
void prepareForManyChanges(SqliteDatabase& database) {
    database.run("PRAGMA cache_size = -65536");
}

void removeLogsOf(const std::string& file) {
    unlink((file + "-wal").c_str());
    unlink((file + "-shm").c_str());
    unlink((file + "-journal").c_str());
}

}  // namespace

FileProviderRegistry::FileProviderRegistry(std::string dataFolder)
    : dataFolder_(std::move(dataFolder)), file_(dataFolder_ + "/file-provider.sqlite") {}

FileProviderRegistry::~FileProviderRegistry() = default;

template <class Work>
auto FileProviderRegistry::attempt(const Work& work) const -> decltype(work()) {
    try {
        return work();
    } catch (SqliteFault fault) {
        return Failure{sentenceFor(fault, file_)};
    } catch (const Failure& failure) {
        return failure;
    }
}

SqliteDatabase* FileProviderRegistry::openExisting() {
    if (database_) return database_.get();
    struct stat status = {};
    if (stat(file_.c_str(), &status) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) return nullptr;
        throw SqliteFault::noAccess;
    }
    if (!S_ISREG(status.st_mode)) throw Failure{harmless(file_) + " is not a domain registry, not even a file."};
    auto database = std::make_unique<SqliteDatabase>(file_);
    auto header = [&](const char* pragma) {
        auto rows = database->query(pragma);
        return rows.next() ? rows.number(0) : 0;
    };
    try {
        header("PRAGMA application_id");
    } catch (SqliteFault fault) {
        if (fault != SqliteFault::full && fault != SqliteFault::unreadable) throw;
        database = std::make_unique<SqliteDatabase>(file_, SqliteDatabase::Use::readWithoutSharing);
    }
    if (header("PRAGMA application_id") != applicationNumber)
        throw Failure{harmless(file_) + " is not a domain registry; move it away and add the domains again."};
    if (header("PRAGMA user_version") != schemaVersion)
        throw Failure{"The domain registry " + harmless(file_) + " belongs to another version of this program."};
    database_ = std::move(database);
    return database_.get();
}

SqliteDatabase& FileProviderRegistry::openOrCreate() {
    if (SqliteDatabase* database = openExisting()) return *database;
    makeFolder(dataFolder_);
    {
        CreationLock lock(dataFolder_);
        if (access(file_.c_str(), F_OK) != 0) create();
    }
    SqliteDatabase* database = openExisting();
    if (!database) throw SqliteFault::noAccess;
    return *database;
}

// Made beside its place and moved there whole: nobody ever sees half a registry.
void FileProviderRegistry::create() const {
    std::string fresh = file_ + ".new";
    unlink(fresh.c_str());
    removeLogsOf(fresh);
    if (!FileDescriptor(open(fresh.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600))) throw SqliteFault::noAccess;
    try {
        SqliteDatabase database(fresh);
        database.tidyUpOnClose();
        database.execute(schema);
    } catch (SqliteFault) {
        unlink(fresh.c_str());
        removeLogsOf(fresh);
        throw;
    }
    // What a registry that was taken away has left behind must not be read into this one.
    removeLogsOf(file_);
    if (std::rename(fresh.c_str(), file_.c_str()) != 0) throw SqliteFault::noAccess;
}

Outcome<std::unique_ptr<FileProviderRegistry::Snapshot>> FileProviderRegistry::read() {
    return attempt([&]() -> Outcome<std::unique_ptr<Snapshot>> {
        return std::unique_ptr<Snapshot>(new Snapshot(*this, openExisting()));
    });
}

std::optional<RegisteredDomain> FileProviderRegistry::findDomain(std::string_view identifier) {
    auto rows = database_->query("SELECT number, root, signals FROM domain WHERE identifier = ?", identifier);
    if (!rows.next()) return std::nullopt;
    return RegisteredDomain{std::string(identifier), std::string(rows.bytes(1)), rows.number(2), rows.number(0)};
}

Outcome<Done> FileProviderRegistry::addDomain(const std::string& identifier, const std::string& root) {
    return attempt([&]() -> Outcome<Done> {
        if (!isIdentifier(identifier)) return Failure{"A domain needs an identifier that is not empty."};
        auto real = realPath(root);
        if (!real || !isFolder(*real)) return Failure{inQuotes(root) + " is not a folder."};
        SqliteDatabase& database = openOrCreate();
        SqliteTransaction transaction(database, SqliteTransaction::Kind::write);
        if (auto existing = findDomain(identifier)) {
            if (existing->root == *real) return Done{};
            return Failure{"The domain " + inQuotes(identifier) + " exists with another root, " +
                           inQuotes(existing->root) + "; remove it first."};
        }
        auto owner = database.query("SELECT identifier FROM domain WHERE root = ?", std::string_view(*real));
        if (owner.next())
            return Failure{inQuotes(*real) + " is already the root of the domain " + inQuotes(owner.bytes(0)) + "."};
        database.run("INSERT INTO domain(identifier, root) VALUES(?, ?)", std::string_view(identifier),
                     std::string_view(*real));
        database.tidyUpOnClose();
        transaction.commit();
        return Done{};
    });
}

Outcome<Done> FileProviderRegistry::removeDomain(const std::string& identifier) {
    return attempt([&]() -> Outcome<Done> {
        SqliteDatabase* database = openExisting();
        if (!database) return noDomain(identifier);
        prepareForManyChanges(*database);
        SqliteTransaction transaction(*database, SqliteTransaction::Kind::write);
        auto domain = findDomain(identifier);
        if (!domain) return noDomain(identifier);
        database->run("DELETE FROM item WHERE domain = ?", domain->number);
        database->run("DELETE FROM domain WHERE number = ?", domain->number);
        database->tidyUpOnClose();
        transaction.commit();
        return Done{};
    });
}

Outcome<std::unique_ptr<FileProviderRegistry::ItemEdit>> FileProviderRegistry::editItems(
    const std::string& domainIdentifier) {
    return attempt([&]() -> Outcome<std::unique_ptr<ItemEdit>> {
        SqliteDatabase* database = openExisting();
        if (!database) return noDomain(domainIdentifier);
        prepareForManyChanges(*database);
        auto transaction = std::make_unique<SqliteTransaction>(*database, SqliteTransaction::Kind::write);
        auto domain = findDomain(domainIdentifier);
        if (!domain) return noDomain(domainIdentifier);
        return std::unique_ptr<ItemEdit>(new ItemEdit(*this, *database, std::move(transaction), std::move(*domain)));
    });
}

Outcome<Done> FileProviderRegistry::countSignal(std::string_view domainIdentifier) {
    return attempt([&]() -> Outcome<Done> {
        SqliteDatabase* database = openExisting();
        if (!database) return noDomain(domainIdentifier);
        // A count lost with the power is no loss: the sync side looks at everything when it starts.
        database->run("PRAGMA synchronous = NORMAL");
        database->run("UPDATE domain SET signals = signals + 1 WHERE identifier = ?", domainIdentifier);
        if (database->changes() == 0) return noDomain(domainIdentifier);
        database->trimLog();
        return Done{};
    });
}

FileProviderRegistry::Snapshot::Snapshot(const FileProviderRegistry& registry, SqliteDatabase* database)
    : registry_(registry), database_(database) {
    if (!database_) return;
    transaction_ = std::make_unique<SqliteTransaction>(*database_, SqliteTransaction::Kind::read);
    auto rows = database_->query("SELECT identifier, root, signals, number FROM domain ORDER BY number");
    while (rows.next())
        domains_.push_back({std::string(rows.bytes(0)), std::string(rows.bytes(1)), rows.number(2), rows.number(3)});
}

FileProviderRegistry::Snapshot::~Snapshot() = default;

const RegisteredDomain* FileProviderRegistry::Snapshot::domain(std::string_view identifier) const {
    for (const RegisteredDomain& domain : domains_)
        if (domain.identifier == identifier) return &domain;
    return nullptr;
}

const RegisteredDomain* FileProviderRegistry::Snapshot::domainOfPath(std::string_view normalPath) const {
    const RegisteredDomain* innermost = nullptr;
    for (const RegisteredDomain& domain : domains_)
        if (pathBelow(normalPath, domain.root) && (!innermost || domain.root.size() > innermost->root.size()))
            innermost = &domain;
    return innermost;
}

Outcome<std::optional<std::string>> FileProviderRegistry::Snapshot::pathOfItem(const RegisteredDomain& domain,
                                                                               std::string_view item) const {
    if (item == rootItem) return std::optional(domain.root);
    return registry_.attempt([&]() -> Outcome<std::optional<std::string>> {
        auto rows = database_->query("SELECT path FROM item WHERE domain = ? AND item = ?", domain.number, item);
        if (!rows.next()) return std::optional<std::string>();
        return std::optional(pathIn(domain.root, rows.bytes(0)));
    });
}

Outcome<std::optional<std::string>> FileProviderRegistry::Snapshot::itemAtPath(const RegisteredDomain& domain,
                                                                               std::string_view normalPath) const {
    auto below = pathBelow(normalPath, domain.root);
    if (!below) return std::optional<std::string>();
    if (below->empty()) return std::optional<std::string>(rootItem);
    return registry_.attempt([&]() -> Outcome<std::optional<std::string>> {
        auto rows = database_->query("SELECT item FROM item WHERE domain = ? AND path = ?", domain.number, *below);
        if (!rows.next()) return std::optional<std::string>();
        return std::optional(std::string(rows.bytes(0)));
    });
}

Outcome<std::int64_t> FileProviderRegistry::Snapshot::countItems(const RegisteredDomain& domain) const {
    return registry_.attempt([&]() -> Outcome<std::int64_t> {
        auto rows = database_->query("SELECT count(*) FROM item WHERE domain = ?", domain.number);
        return rows.next() ? rows.number(0) : 0;
    });
}

Outcome<Done> FileProviderRegistry::Snapshot::listItems(
    const RegisteredDomain& domain,
    const std::function<bool(std::string_view item, std::string_view path)>& visitor) const {
    return registry_.attempt([&]() -> Outcome<Done> {
        auto rows = database_->query("SELECT item, path FROM item WHERE domain = ? ORDER BY item", domain.number);
        while (rows.next() && visitor(rows.bytes(0), rows.bytes(1))) continue;
        return Done{};
    });
}

FileProviderRegistry::ItemEdit::ItemEdit(const FileProviderRegistry& registry, SqliteDatabase& database,
                                         std::unique_ptr<SqliteTransaction> transaction, RegisteredDomain domain)
    : registry_(registry), database_(database), transaction_(std::move(transaction)), domain_(std::move(domain)) {}

FileProviderRegistry::ItemEdit::~ItemEdit() = default;

std::optional<std::string> FileProviderRegistry::ItemEdit::belowRoot(std::string_view path) {
    auto normal = normalPath(path);
    if (!normal || !path.starts_with('/')) return normal;
    if (auto below = pathBelow(*normal, domain_.root)) return std::string(*below);
    auto resolved = resolver_.resolve(path);
    auto below = resolved ? pathBelow(*resolved, domain_.root) : std::nullopt;
    if (!below) return std::nullopt;
    return std::string(*below);
}

Outcome<Done> FileProviderRegistry::ItemEdit::add(std::string_view item, std::string_view path) {
    return registry_.attempt([&]() -> Outcome<Done> {
        if (!isIdentifier(item)) return Failure{"An item needs an identifier that is not empty."};
        auto below = path.find('\0') == path.npos ? belowRoot(path) : std::nullopt;
        if (!below) return Failure{inQuotes(path) + " lies outside the root " + inQuotes(domain_.root) + "."};
        if (below->empty() && item == rootItem) return Done{};
        if (below->empty()) return Failure{"The root folder’s own identifier is “root”."};
        if (item == rootItem) return Failure{"The identifier “root” belongs to the root folder itself."};
        try {
            database_.run(
                "INSERT INTO item(domain, item, path) VALUES(?, ?, ?)"
                " ON CONFLICT(domain, item) DO UPDATE SET path = excluded.path",
                domain_.number, item, std::string_view(*below));
            return Done{};
        } catch (SqliteFault fault) {
            if (fault != SqliteFault::notUnique) throw;
        }
        auto owner = database_.query("SELECT item FROM item WHERE domain = ? AND path = ?", domain_.number,
                                     std::string_view(*below));
        return Failure{inQuotes(path) + " belongs to another item, " + inQuotes(owner.next() ? owner.bytes(0) : "") +
                       "."};
    });
}

Outcome<Done> FileProviderRegistry::ItemEdit::remove(std::string_view item) {
    return registry_.attempt([&]() -> Outcome<Done> {
        database_.run("DELETE FROM item WHERE domain = ? AND item = ?", domain_.number, item);
        if (database_.changes() > 0) return Done{};
        return Failure{"The domain " + inQuotes(domain_.identifier) + " has no item " + inQuotes(item) + "."};
    });
}

Outcome<Done> FileProviderRegistry::ItemEdit::commit() {
    return registry_.attempt([&]() -> Outcome<Done> {
        database_.tidyUpOnClose();
        transaction_->commit();
        return Done{};
    });
}

}  // namespace tobrel
