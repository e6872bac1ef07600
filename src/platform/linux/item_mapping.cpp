#include "platform/linux/item_mapping.h"

#include <algorithm>
#include <optional>

#include "platform/harmless_text.h"

namespace tobrel {

namespace {

constexpr std::string_view scheme = "file://";

bool startsWithIgnoringCase(std::string_view text, std::string_view lowerCase) {
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c; };
    return text.size() >= lowerCase.size() &&
           std::equal(lowerCase.begin(), lowerCase.end(), text.begin(), [&](char a, char b) { return a == lower(b); });
}

std::optional<unsigned> hexDigit(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    return std::nullopt;
}

std::optional<std::string> percentDecoded(std::string_view text) {
    std::string decoded;
    for (; !text.empty(); text.remove_prefix(1)) {
        if (text[0] != '%') {
            decoded += text[0];
            continue;
        }
        if (text.size() < 3) return std::nullopt;
        auto high = hexDigit(text[1]);
        auto low = hexDigit(text[2]);
        if (!high || !low) return std::nullopt;
        decoded += static_cast<char>(*high * 16 + *low);
        text.remove_prefix(2);
    }
    return decoded;
}

}  // namespace

bool isFileUri(std::string_view word) {
    return startsWithIgnoringCase(word, scheme);
}

std::optional<std::string> pathOfFileUri(std::string_view uri) {
    uri.remove_prefix(scheme.size());
    std::string_view host = uri.substr(0, uri.find('/'));
    bool local = host.empty() || (host.size() == 9 && startsWithIgnoringCase(host, "localhost"));
    if (!local || host.size() == uri.size()) return std::nullopt;
    return percentDecoded(uri.substr(host.size()));
}

Outcome<MappedItem> ItemMapping::map(std::string_view word) {
    std::string name = "“" + harmless(word) + "”";
    std::optional<std::string> path;
    if (isFileUri(word)) {
        path = pathOfFileUri(word);
        if (!path) return Failure{name + " is no address of a file on this computer."};
    } else {
        path = word.starts_with('/') ? std::string(word) : workingDirectory_ + '/' + std::string(word);
    }
    if (word.empty() || path->find('\0') != path->npos) return Failure{name + " is no path."};

    if (!snapshot_) {
        auto snapshot = registry_.read();
        if (!snapshot) return snapshot.failure();
        snapshot_ = std::move(*snapshot);
    }

    const RegisteredDomain* container = nullptr;
    auto itemAt = [&](const std::string& place) -> Outcome<std::optional<std::string>> {
        const RegisteredDomain* domain = snapshot_->domainOfPath(place);
        if (!domain) return std::optional<std::string>();
        container = domain;
        return snapshot_->itemAtPath(*domain, place);
    };
    // As given first, because an item is what its path says. But ".." after a link leads elsewhere than it reads.
    auto asGiven = [&] { return normalPath(*path); };
    auto linksFollowed = [&] { return resolver_.resolve(*path); };
    bool readsAsItLeads = !hasDotDot(*path);
    for (bool given : {readsAsItLeads, !readsAsItLeads}) {
        auto place = given ? asGiven() : linksFollowed();
        if (!place) continue;
        auto item = itemAt(*place);
        if (!item) return item.failure();
        if (*item) return MappedItem{container->identifier, std::move(**item)};
    }
    // A link to a domain's root is a usual way to set a domain up, and lies in no domain itself.
    if (!container) {
        auto place = realPath(*path);
        const RegisteredDomain* domain = place ? snapshot_->domainOfPath(*place) : nullptr;
        if (domain && domain->root == *place) return MappedItem{domain->identifier, rootItem};
        return Failure{name + " lies in no registered domain."};
    }
    return Failure{name + " is not known to the domain “" + harmless(container->identifier) + "”."};
}

}  // namespace tobrel
