#include "accounts/AuthenticationFixture.h"

namespace lumivane {

using test::drainEvents;

class SessionRefreshTest : public test::AuthenticationFixture {};

TEST_F(SessionRefreshTest, AGoodTokenCostsNothing) {
    signIn();
    const auto token = askToken();
    ASSERT_TRUE(token->value);
    EXPECT_EQ(*token->value, SecretText("access-0"));
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(SessionRefreshTest, ARefreshWritesAsksWritesAndShowsTheUser) {
    signInBriefly();
    service.user.displayName = u"Ada L."_qs;
    const auto token = askToken();
    ASSERT_TRUE(token->value);
    EXPECT_EQ(*token->value, SecretText("access-1"));
    EXPECT_EQ(journal.entries(),
              (QStringList{u"refreshing"_qs, u"save"_qs, u"saved"_qs, u"refresh"_qs, u"save"_qs,
                           u"saved"_qs, u"signedIn"_qs}));
    EXPECT_TRUE(isSignedInAs(service.user));
    EXPECT_EQ(store.stored, service.session());
    EXPECT_EQ(keeper.storedSession(), store.stored);
    EXPECT_EQ(keeper.credentials(), service.login(1));
}

} // namespace lumivane
