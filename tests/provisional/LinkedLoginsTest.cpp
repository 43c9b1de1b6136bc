#include "provisional/AccountWindowFixture.h"

namespace lumivane::test {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

class LinkedLoginsTest : public AccountWindowFixture {};

TEST_F(LinkedLoginsTest, UnlinkingAsksFirst) {
    openSignedIn();
    service.unlinkScript.answerWith(service.user);
    press(u"Unlink Google"_qs);
    EXPECT_THAT(asked(), Not(Contains(u"unlink"_qs)));
    QAbstractButton* unlink = choice(u"Unlink Google"_qs);
    ASSERT_NE(unlink, nullptr);
    unlink->click();
    drainEvents();
    EXPECT_EQ(service.requests.back().operation, u"unlink");
    EXPECT_NE(button(u"Link Google"_qs), nullptr);
    EXPECT_FALSE(button(u"Unlink GitHub"_qs)->isEnabled());
}

TEST_F(LinkedLoginsTest, ARowSaysWhatItsButtonDoesAndWhyNot) {
    openRestored();
    EXPECT_EQ(button(u"Unlink GitHub"_qs)->toolTip(), u"Your only login. Link another one first.");
    EXPECT_NE(button(u"Link Google"_qs), nullptr);
    EXPECT_THAT(words(), HasSubstr("unlinking one lasts only until you next sign in with it."));
    openSignedIn();
    EXPECT_EQ(button(u"Unlink GitHub"_qs)->toolTip(),
              u"Removes this login. You stay signed in with the others.");
}

TEST_F(LinkedLoginsTest, WithoutTheOffersALinkedLoginStillShowsAndTheyCanBeAskedForAgain) {
    service.providersScript.hold();
    openRestored();
    EXPECT_THAT(words(), HasSubstr("Loading login providers…"));
    service.providersScript.fail(0, AuthenticationError(AuthenticationError::Case::unavailable));
    drainEvents();
    EXPECT_THAT(words(), HasSubstr("Login providers are temporarily unavailable."));
    EXPECT_NE(button(u"Unlink GitHub"_qs), nullptr);
    EXPECT_EQ(button(u"Link Google"_qs), nullptr);
    service.providersScript.letGo();
    press(u"Retry"_qs);
    EXPECT_NE(button(u"Link Google"_qs), nullptr);
    EXPECT_THAT(words(), Not(HasSubstr("unavailable")));
}

TEST_F(LinkedLoginsTest, AButtonKeepsItsFocusThroughChangesThatAreNotItsOwn) {
    openSignedIn();
    QPushButton* focused = button(u"Link Facebook"_qs);
    focused->setFocus();
    UserSummary renamed = service.user;
    renamed.linkedProviders = {AuthProvider::github, AuthProvider::google};
    renamed.displayName = u"Grace"_qs;
    service.profileScript.answerWith(renamed);
    run([this] { return account->commitDisplayName(u"Grace"_qs); });
    EXPECT_THAT(words(), HasSubstr("Grace"));
    EXPECT_EQ(window->focusWidget(), focused);
}

} // namespace lumivane::test
