#include "platform/linux_online/session/secret_session.h"

#include <gtest/gtest.h>

namespace tobrel {

TEST(SecretSession, TwoEndsAgreeAndAThirdReadsNothing) {
    SecretSession one, other, third;
    ASSERT_TRUE(one.agree(other.publicKey()) && other.agree(one.publicKey()) && third.agree(one.publicKey()));
    for (std::size_t length : {0, 1, 15, 16, 17, 300}) {
        const std::string secret(length, '\x01');
        auto sealed = one.seal(secret);
        EXPECT_EQ(other.open(sealed), secret);
        EXPECT_NE(third.open(sealed), secret);
        EXPECT_NE(one.seal(secret).value, sealed.value);
        sealed.value.pop_back();
        EXPECT_EQ(other.open(sealed), std::nullopt);
        EXPECT_EQ(other.open({"", ""}), std::nullopt);
    }
}

TEST(SecretSession, TakesNoKeyThatLeavesNothingSecret) {
    SecretSession session;
    const std::string allOnes(128, '\xFF');
    for (const std::string& key : {std::string(), std::string(1, '\0'), std::string("\x01"), allOnes})
        EXPECT_FALSE(session.agree(key)) << key.size();
}

}  // namespace tobrel
