#include "platform/linux_online/session/secret_service.h"

// Access by object path: two messages a look-up instead of a dozen.
#define SECRET_WITH_UNSTABLE 1
#define SECRET_API_SUBJECT_TO_CHANGE 1
#include <libsecret/secret.h>

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux_online/keychain/keychain_item.h"
#include "platform/linux_online/session/bounded_calls.h"
#include "text/utf8.h"

namespace tobrel {

namespace {

using Clock = BoundedCalls::Clock;
using Paths = std::vector<std::string>;

struct ReleaseSecret {
    void operator()(SecretValue* value) const { secret_value_unref(value); }
    void operator()(SecretService* service) const { g_object_unref(service); }
};
template <class Type>
using OwnedSecret = std::unique_ptr<Type, ReleaseSecret>;

Paths take(gchar** texts) {
    Paths paths;
    for (gchar** text = texts; text && *text; ++text) paths.emplace_back(*text);
    g_strfreev(texts);
    return paths;
}

OSStatus statusOf(GError* given) {
    Owned<GError> error(given);
    if (!error) return errSecIO;
    if (g_error_matches(given, SECRET_ERROR, SECRET_ERROR_IS_LOCKED)) return errSecInteractionNotAllowed;
    if (g_error_matches(given, SECRET_ERROR, SECRET_ERROR_NO_SUCH_OBJECT)) return errSecItemNotFound;
    if (given->domain == SECRET_ERROR) return errSecIO;
    return errSecNotAvailable;
}

Owned<GHashTable> attributesOf(const KeychainQuery& query) {
    Owned<GHashTable> table(g_hash_table_new_full(g_str_hash, g_str_equal, nullptr, g_free));
    auto insert = [&](const char* name, const std::optional<std::string>& value) {
        if (value) g_hash_table_insert(table.get(), const_cast<char*>(name), g_strdup(value->c_str()));
    };
    insert("service", query.service);
    insert("access-group", query.accessGroup);
    insert("account", query.account);
    return table;
}

void setProperty(GHashTable* properties, const char* name, GVariant* value) {
    g_hash_table_insert(properties, const_cast<char*>(name), g_variant_ref_sink(value));
}

Owned<GHashTable> properties() {
    auto release = [](gpointer variant) { g_variant_unref(static_cast<GVariant*>(variant)); };
    return Owned<GHashTable>(g_hash_table_new_full(g_str_hash, g_str_equal, nullptr, release));
}

Owned<GHashTable> propertiesOf(const KeychainItem& item) {
    auto table = properties();
    GVariantBuilder attributes;
    g_variant_builder_init(&attributes, G_VARIANT_TYPE("a{ss}"));
    g_variant_builder_add(&attributes, "{ss}", "service", item.service.c_str());
    g_variant_builder_add(&attributes, "{ss}", "access-group", item.accessGroup.c_str());
    g_variant_builder_add(&attributes, "{ss}", "account", item.account.c_str());
    setProperty(table.get(), "org.freedesktop.Secret.Item.Label", g_variant_new_string(item.label.c_str()));
    setProperty(table.get(), "org.freedesktop.Secret.Item.Attributes", g_variant_builder_end(&attributes));
    return table;
}

}  // namespace

// One connection and one private main context, used by one call at a time.
class KeychainSecretService::Connection {
public:
    explicit Connection(const SecretServiceBounds& bounds) : bounds_(bounds) {}
    ~Connection() { disconnect(); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void interrupt() { calls_.interrupt(); }
    // Runs the work with a connected service.
    OSStatus use(const std::function<OSStatus()>& work);

    struct Items {
        OSStatus status = errSecSuccess;
        Paths unlocked;
        Paths locked;
    };
    Items search(const KeychainQuery& query);
    // After asking to unlock what is locked, and the default keyring where nothing was found.
    enum class Wanted { one, all };
    Items find(const KeychainQuery& query, Wanted wanted);
    SecItemCopyResult secret(const std::string& item);
    // What becomes of an item with the same attributes.
    enum class Same { refused, replaced };
    OSStatus create(const KeychainItem& item, Same same, std::string* path = nullptr);
    OSStatus remove(const std::string& item);

private:
    BoundedCalls::Answer await(const BoundedCalls::Start& start) { return calls_.await(start, deadline_); }
    BoundedCalls::Answer awaitUser(const BoundedCalls::Start& start);
    OSStatus connect();
    void disconnect();
    struct DefaultCollection {
        OSStatus status = errSecSuccess;
        // Nothing where the service has none.
        std::optional<std::string> path;
        bool isLocked = false;
    };
    DefaultCollection defaultCollection();
    std::optional<std::string> createDefaultCollection();
    std::optional<bool> isLocked(const std::string& collection);
    bool unlock(const Paths& objects);

    const SecretServiceBounds bounds_;
    std::mutex mutex_;
    BoundedCalls calls_;
    OwnedSecret<SecretService> service_;
    Clock::time_point deadline_;
    Clock::time_point retreatUntil_;
    OSStatus retreatStatus_ = errSecSuccess;
    bool asked_ = false;
};

KeychainSecretService::KeychainSecretService(const SecretServiceBounds& bounds)
    : connection_(std::make_unique<Connection>(bounds)) {}
KeychainSecretService::~KeychainSecretService() = default;

SecItemCopyResult KeychainSecretService::SecItemCopyMatching(const SecAttributes& attributes) {
    auto query = readQuery(attributes);
    if (!query) return {errSecParam, std::nullopt};
    SecItemCopyResult result;
    result.status = connection_->use([&]() -> OSStatus {
        auto items = connection_->find(*query, Connection::Wanted::one);
        if (items.status != errSecSuccess || !query->returnData) return items.status;
        result = connection_->secret(items.unlocked.front());
        return result.status;
    });
    return result;
}

OSStatus KeychainSecretService::SecItemAdd(const SecAttributes& attributes) {
    auto item = readItem(attributes);
    if (!item) return errSecParam;
    return connection_->use([&] { return connection_->create(*item, Connection::Same::refused); });
}

OSStatus KeychainSecretService::replace(const SecAttributes& replaced, const SecAttributes& attributes) {
    auto query = readQuery(replaced);
    auto item = readItem(attributes);
    if (!query || !item) return errSecParam;
    return connection_->use([&] {
        // Items of a keyring that stays locked are not found; then the default keyring is locked as well, and adding
        // fails.
        auto former = connection_->find(*query, Connection::Wanted::all);
        if (former.status != errSecSuccess && former.status != errSecItemNotFound) return former.status;
        std::string added;
        OSStatus status = connection_->create(*item, Connection::Same::replaced, &added);
        if (status != errSecSuccess) return status;
        for (const std::string& path : former.unlocked)
            if (path != added)
                if (OSStatus removed = connection_->remove(path)) status = removed;
        return status;
    });
}

OSStatus KeychainSecretService::SecItemDelete(const SecAttributes& attributes) {
    auto query = readQuery(attributes);
    if (!query) return errSecParam;
    return connection_->use([&] {
        auto items = connection_->find(*query, Connection::Wanted::all);
        OSStatus status = items.status;
        for (const std::string& item : items.unlocked)
            if (OSStatus removed = connection_->remove(item)) status = removed;
        return status;
    });
}

void KeychainSecretService::interrupt() {
    connection_->interrupt();
}

OSStatus KeychainSecretService::Connection::use(const std::function<OSStatus()>& work) {
    std::lock_guard lock(mutex_);
    if (calls_.isInterrupted()) return errSecIO;
    if (Clock::now() < retreatUntil_) return retreatStatus_;
    deadline_ = Clock::now() + bounds_.call;
    BoundedCalls::Turn turn(calls_);
    bool isReused = service_ != nullptr;
    OSStatus status = connect();
    if (status == errSecSuccess) status = work();
    if (status == errSecNotAvailable && isReused && Clock::now() < deadline_) {
        // The service may have been started anew since.
        disconnect();
        status = connect();
        if (status == errSecSuccess) status = work();
    }
    if (calls_.isInterrupted()) return errSecIO;
    if (status == errSecNotAvailable) {
        disconnect();
        // A service that is there but does not answer is not the same as none.
        if (Clock::now() >= deadline_) status = errSecIO;
        retreatStatus_ = status;
        retreatUntil_ = Clock::now() + bounds_.retreat;
    }
    return status;
}

KeychainSecretService::Connection::Items KeychainSecretService::Connection::search(const KeychainQuery& query) {
    auto attributes = attributesOf(query);
    auto answer = await([&](auto... rest) {
        secret_service_search_for_dbus_paths(service_.get(), nullptr, attributes.get(), rest...);
    });
    if (!answer) return {errSecNotAvailable, {}, {}};
    gchar** unlocked = nullptr;
    gchar** locked = nullptr;
    GError* error = nullptr;
    if (!secret_service_search_for_dbus_paths_finish(service_.get(), answer.get(), &unlocked, &locked, &error))
        return {statusOf(error), {}, {}};
    return {errSecSuccess, take(unlocked), take(locked)};
}

KeychainSecretService::Connection::Items KeychainSecretService::Connection::find(const KeychainQuery& query,
                                                                                 Wanted wanted) {
    auto areMissing = [&](const Items& items) {
        return items.unlocked.empty() || (wanted == Wanted::all && !items.locked.empty());
    };
    Items items = search(query);
    if (items.status != errSecSuccess || !areMissing(items)) return items;
    Paths closed = items.locked;
    if (closed.empty()) {
        // A keyring that was never unlocked shows none of its items.
        DefaultCollection standing = defaultCollection();
        items.status = standing.status != errSecSuccess ? standing.status : errSecItemNotFound;
        if (!standing.isLocked) return items;
        closed.push_back(*standing.path);
    }
    items.status = errSecInteractionNotAllowed;
    if (!unlock(closed)) return items;
    items = search(query);
    if (items.status == errSecSuccess && areMissing(items))
        items.status = items.locked.empty() ? errSecItemNotFound : errSecInteractionNotAllowed;
    return items;
}

SecItemCopyResult KeychainSecretService::Connection::secret(const std::string& item) {
    auto answer =
        await([&](auto... rest) { secret_service_get_secret_for_dbus_path(service_.get(), item.c_str(), rest...); });
    if (!answer) return {errSecNotAvailable, std::nullopt};
    GError* error = nullptr;
    OwnedSecret<SecretValue> value(
        secret_service_get_secret_for_dbus_path_finish(service_.get(), answer.get(), &error));
    if (!value) return {error ? statusOf(error) : errSecItemNotFound, std::nullopt};
    gsize length = 0;
    const gchar* bytes = secret_value_get(value.get(), &length);
    return {errSecSuccess, CFData{std::string(bytes, length)}};
}

OSStatus KeychainSecretService::Connection::create(const KeychainItem& item, Same meaning, std::string* added) {
    DefaultCollection standing = defaultCollection();
    if (standing.status != errSecSuccess) return standing.status;
    auto collection = standing.path ? standing.path : createDefaultCollection();
    if (!collection || (standing.isLocked && !unlock({*collection}))) return errSecInteractionNotAllowed;

    if (meaning == Same::refused) {
        Items same = search(sameItem(item));
        if (same.status != errSecSuccess) return same.status;
        if (!same.unlocked.empty() || !same.locked.empty()) return errSecDuplicateItem;
    }

    auto described = propertiesOf(item);
    bool isText = isUtf8(item.data) && item.data.find('\0') == item.data.npos;
    OwnedSecret<SecretValue> value(secret_value_new(item.data.data(), static_cast<gssize>(item.data.size()),
                                                    isText ? "text/plain" : "application/octet-stream"));
    auto answer = await([&](auto... rest) {
        secret_service_create_item_dbus_path(
            service_.get(), collection->c_str(), described.get(), value.get(),
            meaning == Same::replaced ? SECRET_ITEM_CREATE_REPLACE : SECRET_ITEM_CREATE_NONE, rest...);
    });
    if (!answer) return errSecNotAvailable;
    GError* error = nullptr;
    Owned<gchar> path(secret_service_create_item_dbus_path_finish(service_.get(), answer.get(), &error));
    if (path && added) *added = path.get();
    return path ? errSecSuccess : statusOf(error);
}

OSStatus KeychainSecretService::Connection::remove(const std::string& item) {
    auto answer =
        await([&](auto... rest) { secret_service_delete_item_dbus_path(service_.get(), item.c_str(), rest...); });
    if (!answer) return errSecNotAvailable;
    GError* error = nullptr;
    if (secret_service_delete_item_dbus_path_finish(service_.get(), answer.get(), &error)) return errSecSuccess;
    return statusOf(error);
}

// What waits for the user is left on the screen; afterwards the time for the call begins anew.
BoundedCalls::Answer KeychainSecretService::Connection::awaitUser(const BoundedCalls::Start& start) {
    auto answer = calls_.awaitOrLeave(start, Clock::now() + bounds_.unlock);
    deadline_ = Clock::now() + bounds_.call;
    return answer;
}

OSStatus KeychainSecretService::Connection::connect() {
    if (service_) return errSecSuccess;
    auto answer = await(
        [](auto... rest) { secret_service_open(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_OPEN_SESSION, rest...); });
    if (!answer) return errSecNotAvailable;
    GError* error = nullptr;
    service_.reset(secret_service_open_finish(answer.get(), &error));
    if (!service_) {
        g_clear_error(&error);
        return errSecNotAvailable;
    }
    // The library's connection would otherwise end the process when the bus goes away.
    g_dbus_connection_set_exit_on_close(g_dbus_proxy_get_connection(G_DBUS_PROXY(service_.get())), FALSE);
    return errSecSuccess;
}

void KeychainSecretService::Connection::disconnect() {
    service_.reset();
    calls_.drain();
}

KeychainSecretService::Connection::DefaultCollection KeychainSecretService::Connection::defaultCollection() {
    auto answer = await(
        [&](auto... rest) { secret_service_read_alias_dbus_path(service_.get(), SECRET_COLLECTION_DEFAULT, rest...); });
    if (!answer) return {errSecNotAvailable};
    GError* error = nullptr;
    Owned<gchar> path(secret_service_read_alias_dbus_path_finish(service_.get(), answer.get(), &error));
    if (error) return {statusOf(error)};
    if (!path) return {};
    auto locked = isLocked(path.get());
    if (!locked) return {errSecNotAvailable};
    return {errSecSuccess, path.get(), *locked};
}

std::optional<std::string> KeychainSecretService::Connection::createDefaultCollection() {
    if (std::exchange(asked_, true)) return std::nullopt;
    auto label = properties();
    setProperty(label.get(), "org.freedesktop.Secret.Collection.Label", g_variant_new_string("Default keyring"));
    auto answer = awaitUser([&](auto... rest) {
        secret_service_create_collection_dbus_path(service_.get(), label.get(), SECRET_COLLECTION_DEFAULT,
                                                   SECRET_COLLECTION_CREATE_NONE, rest...);
    });
    if (!answer) return std::nullopt;
    GError* error = nullptr;
    Owned<gchar> path(secret_service_create_collection_dbus_path_finish(service_.get(), answer.get(), &error));
    g_clear_error(&error);
    return path ? std::optional<std::string>(path.get()) : std::nullopt;
}

std::optional<bool> KeychainSecretService::Connection::isLocked(const std::string& collection) {
    auto* proxy = G_DBUS_PROXY(service_.get());
    auto* bus = g_dbus_proxy_get_connection(proxy);
    auto answer = await([&](auto... rest) {
        g_dbus_connection_call(bus, g_dbus_proxy_get_name(proxy), collection.c_str(), "org.freedesktop.DBus.Properties",
                               "Get", g_variant_new("(ss)", "org.freedesktop.Secret.Collection", "Locked"),
                               G_VARIANT_TYPE("(v)"), G_DBUS_CALL_FLAGS_NONE, -1, rest...);
    });
    if (!answer) return std::nullopt;
    Owned<GVariant> reply(g_dbus_connection_call_finish(bus, answer.get(), nullptr));
    if (!reply) return std::nullopt;
    GVariant* boxed = nullptr;
    g_variant_get(reply.get(), "(v)", &boxed);
    Owned<GVariant> locked(boxed);
    return g_variant_is_of_type(boxed, G_VARIANT_TYPE_BOOLEAN) && g_variant_get_boolean(boxed);
}

bool KeychainSecretService::Connection::unlock(const Paths& objects) {
    if (std::exchange(asked_, true)) return false;
    std::vector<const gchar*> paths;
    for (const std::string& object : objects) paths.push_back(object.c_str());
    paths.push_back(nullptr);
    auto answer =
        awaitUser([&](auto... rest) { secret_service_unlock_dbus_paths(service_.get(), paths.data(), rest...); });
    if (!answer) return false;
    gchar** unlocked = nullptr;
    int count = secret_service_unlock_dbus_paths_finish(service_.get(), answer.get(), &unlocked, nullptr);
    g_strfreev(unlocked);
    return count > 0;
}

}  // namespace tobrel
