#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/file_provider/local_path.h"
#include "platform/linux/outcome.h"

namespace tobrel {

class SqliteDatabase;
class SqliteTransaction;

// The item identifier of every domain's own root folder.
inline constexpr const char* rootItem = "root";

struct RegisteredDomain {
    std::string identifier;
    // Absolute, without symbolic links at the time when it was added.
    std::string root;
    // How often the working set was signalled.
    std::int64_t signals = 0;
    // Its key in the registry.
    std::int64_t number = 0;
};

// Which File Provider domains there are, and which item of theirs lies at which path: a database in the data folder
// that any number of processes use at once. Identifiers and paths are bytes. One object serves one thread at a time
// and opens the database when it is first needed; where there is none, there are no domains. No call waits longer than
// a few seconds for another process.
class FileProviderRegistry {
public:
    explicit FileProviderRegistry(std::string dataFolder);
    ~FileProviderRegistry();

    const std::string& dataFolder() const { return dataFolder_; }

    // The registry as it is at one moment, in which many look-ups are cheap. At most one a registry at a time, and no
    // change through the same registry while it lives.
    class Snapshot {
    public:
        ~Snapshot();
        // In the order in which they were added.
        const std::vector<RegisteredDomain>& domains() const { return domains_; }
        const RegisteredDomain* domain(std::string_view identifier) const;
        // The domain whose root contains the path; of nested ones the innermost.
        const RegisteredDomain* domainOfPath(std::string_view normalPath) const;
        // Absolute, whether or not a file is there; nothing for an item that the domain does not know.
        Outcome<std::optional<std::string>> pathOfItem(const RegisteredDomain& domain, std::string_view item) const;
        // Nothing for a path that the domain, which contains it, does not know.
        Outcome<std::optional<std::string>> itemAtPath(const RegisteredDomain& domain,
                                                       std::string_view normalPath) const;
        Outcome<std::int64_t> countItems(const RegisteredDomain& domain) const;
        // Each item's identifier and path below the root, until the visitor returns false.
        Outcome<Done> listItems(const RegisteredDomain& domain,
                                const std::function<bool(std::string_view item, std::string_view path)>& visitor) const;

    private:
        friend class FileProviderRegistry;
        Snapshot(const FileProviderRegistry& registry, SqliteDatabase* database);
        const FileProviderRegistry& registry_;
        SqliteDatabase* const database_;
        std::unique_ptr<SqliteTransaction> transaction_;
        std::vector<RegisteredDomain> domains_;
    };
    Outcome<std::unique_ptr<Snapshot>> read();

    // Refuses a root that is no folder or belongs to another domain, and a domain that has another root. Adding one
    // again changes nothing.
    Outcome<Done> addDomain(const std::string& identifier, const std::string& root);
    // With all its items.
    Outcome<Done> removeDomain(const std::string& identifier);

    // Changes of one domain's items that take effect together, with commit; none without it. Nobody else can write as
    // long as it lives.
    class ItemEdit {
    public:
        ~ItemEdit();
        // The path is relative to the root or absolute inside it. An item that the domain has already moves there; a
        // path of another item is refused, and so is what leads out of the root. After a refusal one can go on.
        Outcome<Done> add(std::string_view item, std::string_view path);
        Outcome<Done> remove(std::string_view item);
        Outcome<Done> commit();

    private:
        friend class FileProviderRegistry;
        ItemEdit(const FileProviderRegistry& registry, SqliteDatabase& database,
                 std::unique_ptr<SqliteTransaction> transaction, RegisteredDomain domain);
        std::optional<std::string> belowRoot(std::string_view path);
        const FileProviderRegistry& registry_;
        SqliteDatabase& database_;
        const std::unique_ptr<SqliteTransaction> transaction_;
        const RegisteredDomain domain_;
        FolderResolver resolver_;
    };
    Outcome<std::unique_ptr<ItemEdit>> editItems(const std::string& domainIdentifier);

    // The domain's working set was signalled.
    Outcome<Done> countSignal(std::string_view domainIdentifier);

private:
    // Runs it, or gives its failure as a sentence.
    template <class Work>
    auto attempt(const Work& work) const -> decltype(work());
    SqliteDatabase* openExisting();
    SqliteDatabase& openOrCreate();
    void create() const;
    std::optional<RegisteredDomain> findDomain(std::string_view identifier);

    const std::string dataFolder_;
    const std::string file_;
    std::unique_ptr<SqliteDatabase> database_;
};

}  // namespace tobrel
