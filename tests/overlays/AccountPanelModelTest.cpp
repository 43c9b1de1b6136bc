#include "overlays/AccountPanelModel.h"

#include "overlays/NotesStatusModel.h"

#include <gtest/gtest.h>

namespace lumivane {

TEST(AccountPanelModel, LoginPanelHasItsWords) {
    const auto panel = AccountPanelModel::authenticationRequired({}, {});
    EXPECT_EQ(panel->identifier(), u"authenticationRequiredPopup"_qs);
    EXPECT_EQ(panel->symbol(), u"person.crop.circle.badge.exclamationmark"_qs);
    EXPECT_EQ(panel->eyebrow(), u"LOGIN REQUIRED"_qs);
    EXPECT_EQ(panel->headline(), u"Log in to Lumivane to analyze this screen."_qs);
    EXPECT_EQ(panel->body(), u"Nothing was captured or sent."_qs);
    EXPECT_EQ(panel->spoken(), QString());
    EXPECT_EQ(panel->dismissLabel(), u"Not now"_qs);
    EXPECT_EQ(panel->dismissIdentifier(), u"authenticationRequiredDismiss"_qs);
    EXPECT_EQ(panel->actionLabel(), u"Log in"_qs);
    EXPECT_EQ(panel->actionIdentifier(), u"authenticationRequiredLogin"_qs);
}

TEST(AccountPanelModel, SignedOutElsewherePanelHasItsWords) {
    const auto panel = AccountPanelModel::deviceEvicted(DeviceEvictedOrigin::beforeCapture, {}, {});
    EXPECT_EQ(panel->identifier(), u"deviceEvictedPopup"_qs);
    EXPECT_EQ(panel->symbol(), u"laptopcomputer.slash"_qs);
    EXPECT_EQ(panel->eyebrow(), u"SIGNED IN ELSEWHERE"_qs);
    EXPECT_EQ(panel->headline(), u"You signed in on another Mac."_qs);
    EXPECT_EQ(panel->body(), u"Lumivane is signed in there now, so this Mac has been signed out. "
                             u"Log in again here to move it back. Nothing was captured."_qs);
    EXPECT_EQ(panel->spoken(),
              u"You signed in on another Mac. Lumivane is signed in there now."_qs);
    EXPECT_EQ(panel->dismissLabel(), u"Not now"_qs);
    EXPECT_EQ(panel->dismissIdentifier(), u"deviceEvictedDismiss"_qs);
    EXPECT_EQ(panel->actionLabel(), u"Log in again"_qs);
    EXPECT_EQ(panel->actionIdentifier(), u"deviceEvictedLogIn"_qs);
}

TEST(AccountPanelModel, ReassuranceFollowsTheOrigin) {
    EXPECT_EQ(reassurance(DeviceEvictedOrigin::beforeCapture), u"Nothing was captured."_qs);
    EXPECT_EQ(reassurance(DeviceEvictedOrigin::afterUpload),
              u"The screenshot was not analysed and was not stored."_qs);
    EXPECT_TRUE(
        AccountPanelModel::deviceEvicted(DeviceEvictedOrigin::afterUpload, {}, {})
            ->body()
            .endsWith(u"move it back. The screenshot was not analysed and was not stored."));
}

TEST(AccountPanelModel, EachAnswerCallsItsOwn) {
    int actions = 0;
    int dismissals = 0;
    const auto act = [&] { ++actions; };
    const auto dismiss = [&] { ++dismissals; };
    for (const auto& panel :
         {AccountPanelModel::authenticationRequired(act, dismiss),
          AccountPanelModel::deviceEvicted(DeviceEvictedOrigin::afterUpload, act, dismiss)}) {
        actions = dismissals = 0;
        panel->act();
        EXPECT_EQ(actions, 1);
        EXPECT_EQ(dismissals, 0);
        panel->dismiss();
        EXPECT_EQ(actions, 1);
        EXPECT_EQ(dismissals, 1);
    }
}

TEST(AccountPanelModel, AnswersThatNobodyWaitsForAreSafe) {
    const auto panel = AccountPanelModel::authenticationRequired({}, {});
    panel->act();
    panel->dismiss();
    EXPECT_EQ(panel->eyebrow(), u"LOGIN REQUIRED"_qs);
}

TEST(NotesStatusModel, SaysWhyAndForwardsTheDismissal) {
    int dismissals = 0;
    NotesStatusModel model(u"no access"_qs, [&] { ++dismissals; });
    EXPECT_EQ(model.eyebrow(), u"SOLUTION NOT SAVED TO NOTES"_qs);
    EXPECT_EQ(model.message(), u"no access"_qs);
    model.dismiss();
    EXPECT_EQ(dismissals, 1);
}

} // namespace lumivane
