#include "platform/linux/file_provider/item_mapping.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <optional>

#include "text/harmless_text.h"

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

bool exists(const std::string& path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0 || (errno != ENOENT && errno != ENOTDIR);
}

// Said behind the word's name.
std::string whyUnmapped(const std::string& path, const RegisteredDomain* domain) {
    if (!exists(path)) return " does not exist; check the name.";
    if (!domain)
        return " lies outside of the registered domains (tobrel-admin domain list); "
               "register its folder with: tobrel-admin domain add ID DIR";
    return " is not registered in the domain " + inQuotes(domain->identifier) +
           "; its sync client does that, or: tobrel-admin item add DOMAIN ITEM PATH";
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
    auto path = percentDecoded(uri.substr(host.size()));
    return path && path->find('\0') == path->npos ? path : std::nullopt;
}

Outcome<MappedItem> ItemMapping::map(std::string_view word) {
    if (word.empty() || word.find('\0') != word.npos) return Failure{inQuotes(word) + " is not a path."};
    std::optional<std::string> path;
    if (isFileUri(word)) {
        path = pathOfFileUri(word);
        if (!path) return Failure{inQuotes(word) + " is not the address of a file on this computer."};
    } else if (word.starts_with('/')) {
        path = word;
    } else {
        if (workingDirectory_.empty())
            return Failure{inQuotes(word) +
                           ": the current folder no longer exists; go to another, or give the whole path."};
        path = pathIn(workingDirectory_, word);
    }

    if (!snapshot_) {
        auto snapshot = registry_.read();
        if (!snapshot) return snapshot.failure();
        snapshot_ = std::move(*snapshot);
    }
    auto place = find(*path);
    if (!place) return place.failure();
    if (!place->domain || !place->item) return Failure{inQuotes(word) + whyUnmapped(*path, place->domain)};
    return MappedItem{place->domain->identifier, std::move(*place->item)};
}

Outcome<ItemMapping::Place> ItemMapping::find(const std::string& path) {
    Place nearest;
    // As given first, because an item is what its path says. But ".." behind a link leads elsewhere than it reads.
    bool readsAsItLeads = !hasDotDot(path);
    if (readsAsItLeads) {
        auto place = placeOf(*normalPath(path));
        if (!place || place->item) return place;
        nearest = *place;
    }
    auto led = resolver_.resolve(path);
    if (!led && !readsAsItLeads) led = normalPath(path);
    if (led) {
        auto place = placeOf(*led);
        if (!place || place->item) return place;
        if (place->domain) nearest = *place;
    }
    if (nearest.domain) return nearest;
    // A link that stands for a domain's root lies in no domain itself.
    auto real = realPath(path);
    const RegisteredDomain* domain = real ? snapshot_->domainOfPath(*real) : nullptr;
    if (domain && domain->root == *real) return Place{domain, rootItem};
    return nearest;
}

Outcome<ItemMapping::Place> ItemMapping::placeOf(const std::string& normalPath) const {
    const RegisteredDomain* domain = snapshot_->domainOfPath(normalPath);
    if (!domain) return Place{};
    auto item = snapshot_->itemAtPath(*domain, normalPath);
    if (!item) return item.failure();
    return Place{domain, std::move(*item)};
}

}  // namespace tobrel
