#include "platform/linux_online/keychain/keychain_item.h"

#include "text/utf8.h"

namespace tobrel {

namespace {

// Reads members of one type; one value of another type, and nothing was read.
class Reader {
public:
    explicit Reader(const SecAttributes& attributes) : attributes_(attributes) {
        valid_ = text(kSecClass) == kSecClassGenericPassword;
    }

    template <class Value>
    std::optional<Value> value(const char* name) {
        auto found = attributes_.find(name);
        if (found == attributes_.end()) return std::nullopt;
        if (const Value* value = std::get_if<Value>(&found->second)) return *value;
        valid_ = false;
        return std::nullopt;
    }

    std::optional<std::string> text(const char* name) {
        auto text = value<std::string>(name);
        if (text && (!isUtf8(*text) || text->find('\0') != text->npos)) valid_ = false;
        return text;
    }

    bool valid() const { return valid_; }

private:
    const SecAttributes& attributes_;
    bool valid_ = true;
};

}  // namespace

bool KeychainQuery::matches(const KeychainItem& item) const {
    return (!service || *service == item.service) && (!accessGroup || *accessGroup == item.accessGroup) &&
           (!account || *account == item.account);
}

std::optional<KeychainQuery> readQuery(const SecAttributes& attributes) {
    Reader reader(attributes);
    KeychainQuery query{reader.text(kSecAttrService), reader.text(kSecAttrAccessGroup), reader.text(kSecAttrAccount),
                        reader.value<bool>(kSecReturnData).value_or(false)};
    if (!reader.valid()) return std::nullopt;
    return query;
}

std::optional<KeychainItem> readItem(const SecAttributes& attributes) {
    Reader reader(attributes);
    auto data = reader.value<CFData>(kSecValueData);
    KeychainItem item{reader.text(kSecAttrService).value_or(""), reader.text(kSecAttrAccessGroup).value_or(""),
                      reader.text(kSecAttrAccount).value_or(""), reader.text(kSecAttrLabel).value_or(""),
                      data.value_or(CFData{}).bytes};
    if (!reader.valid() || !data) return std::nullopt;
    return item;
}

KeychainQuery sameItem(const KeychainItem& item) {
    return {item.service, item.accessGroup, item.account};
}

}  // namespace tobrel
