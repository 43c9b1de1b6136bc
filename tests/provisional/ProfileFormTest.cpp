#include "provisional/AccountWindowFixture.h"

#include <QShortcut>

namespace lumivane::test {

using testing::HasSubstr;

class ProfileFormTest : public AccountWindowFixture {
protected:
    void openForm() {
        openSignedIn();
        displayName = fieldWith(u"Ada"_qs);
        handle = fieldWith(u"ada"_qs);
        ASSERT_TRUE(displayName != nullptr && handle != nullptr);
    }

    static void escape(const QLineEdit* field) {
        auto* shortcut = field->findChild<QShortcut*>();
        ASSERT_NE(shortcut, nullptr);
        EXPECT_EQ(shortcut->key(), QKeySequence(Qt::Key_Escape));
        Q_EMIT shortcut->activated();
        drainEvents();
    }

    QLineEdit* displayName = nullptr;
    QLineEdit* handle = nullptr;
};

TEST_F(ProfileFormTest, ANameIsSavedByReturn) {
    openForm();
    UserSummary renamed = service.user;
    renamed.displayName = u"Ada L."_qs;
    service.profileScript.answerWith(renamed);
    type(displayName, u" Ada L. "_qs);
    commit(displayName);
    EXPECT_EQ(service.requests.back().displayName, u"Ada L.");
    EXPECT_THAT(words(), HasSubstr("Saved"));
    EXPECT_EQ(displayName->text(), u"Ada L.");
}

TEST_F(ProfileFormTest, AHandleIsJudgedWhileItIsTyped) {
    openForm();
    EXPECT_THAT(words(), HasSubstr("Your public @name. Press Return to save."));
    type(handle, u"root"_qs);
    EXPECT_THAT(words(), HasSubstr("That handle is reserved"));
    commit(handle);
    EXPECT_THAT(words(), HasSubstr("Reverted to @ada"));
    EXPECT_EQ(handle->text(), u"ada");
}

TEST_F(ProfileFormTest, ADraftOutlivesWhatElseChangesAndAnErrorOfAnotherLogin) {
    openForm();
    type(handle, u"qq!"_qs);
    type(displayName, u"Countess"_qs);
    service.transactionScript.failWith(AuthenticationError(AuthenticationError::Case::unavailable));
    press(u"Link Facebook"_qs);
    EXPECT_THAT(words(), HasSubstr("Login is temporarily unavailable."));
    EXPECT_EQ(handle->text(), u"qq!");
    EXPECT_EQ(displayName->text(), u"Countess");
    EXPECT_THAT(words(), HasSubstr("2–39 letters"));
}

TEST_F(ProfileFormTest, AHandleThatIsNotSavedYetOutlivesTheSaveOfTheName) {
    openForm();
    service.availabilityScript.answerWith({u"countess"_qs, true, std::nullopt});
    type(handle, u"countess"_qs);
    clock.advance(std::chrono::seconds(1));
    drainEvents();
    ASSERT_THAT(words(), HasSubstr("Available"));
    UserSummary renamed = service.user;
    renamed.displayName = u"Countess"_qs;
    service.profileScript.answerWith(renamed);
    type(displayName, u"Countess"_qs);
    commit(displayName);
    EXPECT_EQ(handle->text(), u"countess");
    EXPECT_THAT(words(), HasSubstr("Available"));
    renamed.handle = u"countess"_qs;
    service.profileScript.answerWith(renamed);
    commit(handle);
    EXPECT_EQ(service.requests.back().handle, u"countess");
    EXPECT_FALSE(handle->isModified());
}

TEST_F(ProfileFormTest, WhatIsTypedOnWhileANameIsSavedStays) {
    openForm();
    service.profileScript.hold();
    type(displayName, u"Grace"_qs);
    commit(displayName);
    type(displayName, u"Grace B."_qs);
    UserSummary renamed = service.user;
    renamed.displayName = u"Grace"_qs;
    service.profileScript.release(0, renamed);
    drainEvents();
    EXPECT_EQ(displayName->text(), u"Grace B.");
}

TEST_F(ProfileFormTest, NothingToSaveTakesTheDraftBack) {
    openForm();
    type(displayName, u"   "_qs);
    commit(displayName);
    EXPECT_EQ(displayName->text(), u"Ada");
    type(handle, u"@ada"_qs);
    commit(handle);
    EXPECT_EQ(handle->text(), u"ada");
}

TEST_F(ProfileFormTest, ANameThatCouldNotBeSavedStaysToBeTriedAgain) {
    openForm();
    service.profileScript.failWith(AuthenticationError(AuthenticationError::Case::unavailable));
    type(displayName, u"Grace"_qs);
    commit(displayName);
    EXPECT_THAT(words(), HasSubstr("That name could not be saved. Try again."));
    EXPECT_EQ(displayName->text(), u"Grace");
}

TEST_F(ProfileFormTest, EscapeTakesADraftBack) {
    openForm();
    type(handle, u"root"_qs);
    escape(handle);
    EXPECT_EQ(handle->text(), u"ada");
    EXPECT_THAT(words(), HasSubstr("Reverted to @ada"));
    type(displayName, u"Grace"_qs);
    escape(displayName);
    EXPECT_EQ(displayName->text(), u"Ada");
    EXPECT_TRUE(service.requestsTo(u"updateProfile"_qs).empty());
}

TEST_F(ProfileFormTest, AnotherUserSeesNothingOfTheDraftsOfTheOneBefore) {
    openForm();
    type(handle, u"canary"_qs);
    type(displayName, u"Canary"_qs);
    press(u"Sign out"_qs);
    EXPECT_TRUE(handle->text().isEmpty());
    EXPECT_TRUE(displayName->text().isEmpty());
    service.user = {u"Bea"_qs, u"bea@example.com"_qs, {AuthProvider::github}, u"bea"_qs};
    service.completeScript.answerWith(service.login(0));
    press(u"Continue with GitHub"_qs);
    EXPECT_EQ(handle->text(), u"bea");
    EXPECT_EQ(displayName->text(), u"Bea");
}

} // namespace lumivane::test
