#include "text/nearest_word.h"

#include <gtest/gtest.h>

namespace tobrel {

TEST(NearestWord, forgives_a_slip_but_guesses_nothing) {
    const std::vector<std::string> known{"keep", "unkeep", "share", "share-with", "add", "remove"};
    struct {
        const char* word;
        std::optional<std::string> nearest;
    } cases[] = {
        {"kepe", "keep"},
        {"unkep", "unkeep"},
        {"shrae", "share"},
        {"sharewith", "share-with"},
        {"share-wih", "share-with"},
        {"ad", "add"},
        {"reove", "remove"},
        {"delete", std::nullopt},
        {"", std::nullopt},
        {"x", std::nullopt},
        {"add", "add"},
    };
    for (const auto& [word, nearest] : cases) EXPECT_EQ(nearestWord(word, known), nearest) << word;
    EXPECT_EQ(nearestWord(std::string(100'000, 'k'), known), std::nullopt);
}

}  // namespace tobrel
