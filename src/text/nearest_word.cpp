#include "text/nearest_word.h"

#include <algorithm>

namespace tobrel {

namespace {

constexpr std::size_t longestWord = 64;

std::size_t slipsBetween(std::string_view a, std::string_view b) {
    std::vector<std::size_t> beforeLast(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        beforeLast.swap(last);
        last.swap(row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] != b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
    }
    return row[b.size()];
}

}  // namespace

std::optional<std::string> nearestWord(std::string_view word, const std::vector<std::string>& known) {
    if (word.size() > longestWord) return std::nullopt;
    std::optional<std::string> nearest;
    std::size_t fewest = 0;
    for (const std::string& candidate : known) {
        std::size_t slips = slipsBetween(word, candidate);
        // A word of which less than two thirds is left was hardly meant.
        if (slips * 3 > std::max<std::size_t>(candidate.size(), 3) || (nearest && slips >= fewest)) continue;
        nearest = candidate;
        fewest = slips;
    }
    return nearest;
}

}  // namespace tobrel
