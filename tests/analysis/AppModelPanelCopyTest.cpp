#include "overlays/OverlayCoordinator.h"
#include "support/AppModelFixture.h"
#include "support/FakeAnnouncer.h"
#include "support/FakePanelHost.h"

namespace lumivane::test {

/// A copy that the user makes at a panel, as the model sees it.
class AppModelPanelCopyTest : public AppModelTest {
protected:
    AppModelPanelCopyTest() { settings.deliveryMode = DeliveryMode::screen; }

    void copyAtPanel(const QString& text = u"the answer"_qs) {
        overlayPasteboard.copy(text, settings);
    }
};

TEST_F(AppModelPanelCopyTest, TheEndOfTheSessionClearsIt) {
    make();
    run();
    copyAtPanel();
    EXPECT_EQ(pasteboard.contents.at(PasteboardType::string), u"the answer"_qs);
    model->authenticationDidClearSession();
    EXPECT_TRUE(pasteboard.contents.empty());
    const auto count = pasteboard.count;
    model->authenticationDidClearSession();
    EXPECT_EQ(pasteboard.count, count) << "once";
}

TEST_F(AppModelPanelCopyTest, QuittingClearsIt) {
    make();
    copyAtPanel();
    model->terminate();
    EXPECT_TRUE(pasteboard.contents.empty());
}

TEST_F(AppModelPanelCopyTest, WhatTheUserCopiedSinceStays) {
    make();
    copyAtPanel();
    pasteboard.copyElsewhere(u"mine"_qs);
    model->authenticationDidClearSession();
    EXPECT_EQ(pasteboard.contents.at(PasteboardType::string), u"mine"_qs);
}

TEST_F(AppModelPanelCopyTest, ItTakesThePlaceOfADeliveredCopy) {
    settings.deliveryMode = DeliveryMode::both;
    make();
    run();
    copyAtPanel(u"once more"_qs);
    model->authenticationDidClearSession();
    EXPECT_TRUE(pasteboard.contents.empty());
}

TEST_F(AppModelPanelCopyTest, ADeliveredCopyTakesItsPlace) {
    make();
    copyAtPanel();
    run();
    model->copyLastResult();
    model->authenticationDidClearSession();
    EXPECT_TRUE(pasteboard.contents.empty());
}

TEST_F(AppModelPanelCopyTest, AModelThatHasGoneHearsOfNone) {
    make();
    model.reset();
    copyAtPanel();
    EXPECT_EQ(pasteboard.contents.at(PasteboardType::string), u"the answer"_qs);
}

TEST_F(AppModelPanelCopyTest, TheButtonOfADeliveredPanelIsHeard) {
    FakePanelHost host;
    FakeAnnouncer announcer;
    OverlayCoordinator coordinator(host, hotKeys, displays, announcer, overlayPasteboard, clock);
    store.stored = settings;
    model = std::make_unique<AppModel>(portsWith(service, coordinator));
    run();
    const auto panel = host.model<ResultOverlayModel>();
    ASSERT_NE(panel, nullptr);
    panel->footer()->copy();
    EXPECT_EQ(pasteboard.contents.at(PasteboardType::string), u"the answer"_qs);
    model->authenticationDidClearSession();
    EXPECT_TRUE(pasteboard.contents.empty());
    EXPECT_TRUE(host.up().empty()) << "the answer goes with its session";
    model.reset();
}

} // namespace lumivane::test
