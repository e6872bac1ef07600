#include "platform/linux_online/session/secret_service.h"

#include <gio/gio.h>

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux_online/keychain/keychain_item.h"
#include "platform/linux_online/session/bounded_calls.h"
#include "platform/linux_online/session/secret_session.h"
#include "text/utf8.h"

namespace tobrel {

namespace {

using Clock = BoundedCalls::Clock;
using Paths = std::vector<std::string>;
using Value = Owned<GVariant>;

constexpr const char* service = "/org/freedesktop/secrets";
// What stands for an object where there is none.
constexpr const char* noObject = "/";

Paths pathsOf(GVariant* array) {
    Paths paths;
    for (gsize index = 0; index < g_variant_n_children(array); ++index) {
        Value path(g_variant_get_child_value(array, index));
        paths.emplace_back(g_variant_get_string(path.get(), nullptr));
    }
    return paths;
}

Value child(const Value& tuple, gsize index) {
    return Value(g_variant_get_child_value(tuple.get(), index));
}

std::string textOf(const Value& tuple, gsize index) {
    return g_variant_get_string(child(tuple, index).get(), nullptr);
}

std::string bytesOf(const Value& bytes) {
    gsize length = 0;
    const void* data = g_variant_get_fixed_array(bytes.get(), &length, 1);
    return {static_cast<const char*>(data), length};
}

GVariant* variantOf(const std::string& bytes) {
    return g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, bytes.data(), bytes.size(), 1);
}

GVariant* variantOf(const Paths& paths) {
    GVariantBuilder array;
    g_variant_builder_init(&array, G_VARIANT_TYPE("ao"));
    for (const std::string& path : paths) g_variant_builder_add(&array, "o", path.c_str());
    return g_variant_builder_end(&array);
}

OSStatus statusOf(GError* given) {
    Owned<GError> error(given);
    Owned<gchar> remote(g_dbus_error_get_remote_error(given));
    std::string_view name = remote ? remote.get() : "";
    constexpr std::string_view own = "org.freedesktop.Secret.Error.";
    if (!name.starts_with(own)) return errSecNotAvailable;
    name.remove_prefix(own.size());
    if (name == "IsLocked") return errSecInteractionNotAllowed;
    if (name == "NoSuchObject") return errSecItemNotFound;
    // The session of a service that has been started anew since.
    return name == "NoSession" ? errSecNotAvailable : errSecIO;
}

GVariant* attributesOf(const KeychainQuery& query) {
    GVariantBuilder attributes;
    g_variant_builder_init(&attributes, G_VARIANT_TYPE("a{ss}"));
    auto add = [&](const char* name, const std::optional<std::string>& value) {
        if (value) g_variant_builder_add(&attributes, "{ss}", name, value->c_str());
    };
    add("service", query.service);
    add("access-group", query.accessGroup);
    add("account", query.account);
    return g_variant_builder_end(&attributes);
}

GVariant* propertiesOf(const KeychainItem& item) {
    GVariantBuilder properties;
    g_variant_builder_init(&properties, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&properties, "{sv}", "org.freedesktop.Secret.Item.Label",
                          g_variant_new_string(item.label.c_str()));
    g_variant_builder_add(&properties, "{sv}", "org.freedesktop.Secret.Item.Attributes",
                          attributesOf({item.service, item.accessGroup, item.account}));
    return g_variant_builder_end(&properties);
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
    struct Reply {
        OSStatus status = errSecSuccess;
        Value value;
    };
    // Asks the object at the path, whose reply must be of the type.
    Reply call(const std::string& path, const char* interface, const char* method, GVariant* arguments,
               const char* type);
    Reply ask(const char* method, GVariant* arguments, const char* type) {
        return call(service, "org.freedesktop.Secret.Service", method, arguments, type);
    }
    // What comes of the question to the user at the path; nothing where the answer is no, or none.
    Value askUser(const std::string& prompt);
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
    Owned<GDBusConnection> bus_;
    // Of the connection.
    std::unique_ptr<SecretSession> session_;
    std::string sessionPath_;
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

void KeychainSecretService::prepare() {
    connection_->use([] { return errSecSuccess; });
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
    bool isReused = session_ != nullptr;
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
    auto [status, found] = ask("SearchItems", g_variant_new("(@a{ss})", attributesOf(query)), "(aoao)");
    if (!found) return {status, {}, {}};
    return {status, pathsOf(child(found, 0).get()), pathsOf(child(found, 1).get())};
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
    auto [status, reply] =
        ask("GetSecrets", g_variant_new("(@aoo)", variantOf(Paths{item}), sessionPath_.c_str()), "(a{o(oayays)})");
    if (!reply) return {status, std::nullopt};
    Value secrets = child(reply, 0);
    if (g_variant_n_children(secrets.get()) == 0) return {errSecItemNotFound, std::nullopt};
    Value secret = child(child(secrets, 0), 1);
    auto data = session_->open({bytesOf(child(secret, 1)), bytesOf(child(secret, 2))});
    if (!data) return {errSecIO, std::nullopt};
    return {errSecSuccess, CFData{std::move(*data)}};
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

    bool isText = isUtf8(item.data) && item.data.find('\0') == item.data.npos;
    auto sealed = session_->seal(item.data);
    GVariant* secret = g_variant_new("(o@ay@ays)", sessionPath_.c_str(), variantOf(sealed.parameters),
                                     variantOf(sealed.value), isText ? "text/plain" : "application/octet-stream");
    auto [status, reply] = call(*collection, "org.freedesktop.Secret.Collection", "CreateItem",
                                g_variant_new("(@a{sv}@(oayays)b)", propertiesOf(item), secret,
                                              static_cast<gboolean>(meaning == Same::replaced)),
                                "(oo)");
    if (!reply) return status;
    std::string path = textOf(reply, 0);
    if (path == noObject) {
        Value made = askUser(textOf(reply, 1));
        if (!made || !g_variant_is_of_type(made.get(), G_VARIANT_TYPE_OBJECT_PATH)) return errSecInteractionNotAllowed;
        path = g_variant_get_string(made.get(), nullptr);
    }
    if (added) *added = path;
    return errSecSuccess;
}

OSStatus KeychainSecretService::Connection::remove(const std::string& item) {
    auto [status, reply] = call(item, "org.freedesktop.Secret.Item", "Delete", nullptr, "(o)");
    if (!reply) return status;
    std::string prompt = textOf(reply, 0);
    return prompt == noObject || askUser(prompt) ? errSecSuccess : errSecInteractionNotAllowed;
}

KeychainSecretService::Connection::Reply KeychainSecretService::Connection::call(
    const std::string& path, const char* interface, const char* method, GVariant* arguments, const char* type) {
    auto answer = calls_.await(
        [&](auto... rest) {
            g_dbus_connection_call(bus_.get(), "org.freedesktop.secrets", path.c_str(), interface, method, arguments,
                                   G_VARIANT_TYPE(type), G_DBUS_CALL_FLAGS_NONE, G_MAXINT, rest...);
        },
        deadline_);
    if (!answer) return {errSecNotAvailable, nullptr};
    GError* error = nullptr;
    Value value(g_dbus_connection_call_finish(bus_.get(), answer.get(), &error));
    return {value ? errSecSuccess : statusOf(error), std::move(value)};
}

// What waits for the user is left on the screen; afterwards the time for the call begins anew.
Value KeychainSecretService::Connection::askUser(const std::string& prompt) {
    constexpr const char* interface = "org.freedesktop.Secret.Prompt";
    Value completed;
    auto take = [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GVariant* arguments,
                   gpointer taken) {
        if (g_variant_is_of_type(arguments, G_VARIANT_TYPE("(bv)")))
            static_cast<Value*>(taken)->reset(g_variant_ref(arguments));
    };
    guint subscription = g_dbus_connection_signal_subscribe(bus_.get(), "org.freedesktop.secrets", interface,
                                                            "Completed", prompt.c_str(), nullptr,
                                                            G_DBUS_SIGNAL_FLAGS_NONE, take, &completed, nullptr);
    if (call(prompt, interface, "Prompt", g_variant_new("(s)", ""), "()").value)
        calls_.awaitUntil([&] { return completed != nullptr; }, Clock::now() + bounds_.unlock);
    g_dbus_connection_signal_unsubscribe(bus_.get(), subscription);
    deadline_ = Clock::now() + bounds_.call;
    if (!completed || g_variant_get_boolean(child(completed, 0).get())) return nullptr;
    return Value(g_variant_get_variant(child(completed, 1).get()));
}

OSStatus KeychainSecretService::Connection::connect() {
    if (session_) return errSecSuccess;
    Owned<gchar> address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    if (!address) return errSecNotAvailable;
    constexpr auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                             G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    auto answer = calls_.await(
        [&](auto... rest) { g_dbus_connection_new_for_address(address.get(), flags, nullptr, rest...); }, deadline_);
    if (!answer) return errSecNotAvailable;
    bus_.reset(g_dbus_connection_new_for_address_finish(answer.get(), nullptr));
    if (!bus_) return errSecNotAvailable;
    auto session = std::make_unique<SecretSession>();
    auto opened =
        ask("OpenSession", g_variant_new("(sv)", SecretSession::algorithm, variantOf(session->publicKey())), "(vo)");
    if (!opened.value) return errSecNotAvailable;
    Value key(g_variant_get_variant(child(opened.value, 0).get()));
    if (!g_variant_is_of_type(key.get(), G_VARIANT_TYPE_BYTESTRING) || !session->agree(bytesOf(key)))
        return errSecNotAvailable;
    sessionPath_ = textOf(opened.value, 1);
    session_ = std::move(session);
    return errSecSuccess;
}

void KeychainSecretService::Connection::disconnect() {
    session_.reset();
    bus_.reset();
    calls_.drain();
}

KeychainSecretService::Connection::DefaultCollection KeychainSecretService::Connection::defaultCollection() {
    auto [status, reply] = ask("ReadAlias", g_variant_new("(s)", "default"), "(o)");
    if (!reply) return {status};
    std::string path = textOf(reply, 0);
    if (path == noObject) return {};
    auto locked = isLocked(path);
    if (!locked) return {errSecNotAvailable};
    return {errSecSuccess, path, *locked};
}

std::optional<std::string> KeychainSecretService::Connection::createDefaultCollection() {
    if (std::exchange(asked_, true)) return std::nullopt;
    GVariantBuilder properties;
    g_variant_builder_init(&properties, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&properties, "{sv}", "org.freedesktop.Secret.Collection.Label",
                          g_variant_new_string("Default keyring"));
    auto reply =
        ask("CreateCollection", g_variant_new("(@a{sv}s)", g_variant_builder_end(&properties), "default"), "(oo)")
            .value;
    if (!reply) return std::nullopt;
    std::string path = textOf(reply, 0);
    if (path != noObject) return path;
    Value made = askUser(textOf(reply, 1));
    if (!made || !g_variant_is_of_type(made.get(), G_VARIANT_TYPE_OBJECT_PATH)) return std::nullopt;
    return g_variant_get_string(made.get(), nullptr);
}

std::optional<bool> KeychainSecretService::Connection::isLocked(const std::string& collection) {
    auto reply = call(collection, "org.freedesktop.DBus.Properties", "Get",
                      g_variant_new("(ss)", "org.freedesktop.Secret.Collection", "Locked"), "(v)")
                     .value;
    if (!reply) return std::nullopt;
    Value locked(g_variant_get_variant(child(reply, 0).get()));
    return g_variant_is_of_type(locked.get(), G_VARIANT_TYPE_BOOLEAN) && g_variant_get_boolean(locked.get());
}

bool KeychainSecretService::Connection::unlock(const Paths& objects) {
    if (std::exchange(asked_, true)) return false;
    auto reply = ask("Unlock", g_variant_new("(@ao)", variantOf(objects)), "(aoo)").value;
    if (!reply) return false;
    if (g_variant_n_children(child(reply, 0).get()) > 0) return true;
    std::string prompt = textOf(reply, 1);
    return prompt != noObject && askUser(prompt);
}

}  // namespace tobrel
