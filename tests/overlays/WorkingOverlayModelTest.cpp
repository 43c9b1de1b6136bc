#include "overlays/WorkingOverlayModel.h"

#include "SignalCount.h"
#include "overlays/ColorMixing.h"
#include "ui/identity/PaintColor.h"

#include <gtest/gtest.h>

namespace lumivane {

using test::SignalCount;

TEST(WorkingOverlayState, TellsOfASlowAnswerOnce) {
    WorkingOverlayState state;
    const SignalCount changes(state, &WorkingOverlayState::isSlowChanged);
    EXPECT_FALSE(state.isSlow());
    state.setSlow(false);
    EXPECT_EQ(changes, 0);
    state.setSlow(true);
    state.setSlow(true);
    EXPECT_TRUE(state.isSlow());
    EXPECT_EQ(changes, 1);
}

TEST(WorkingOverlayModel, WordsFollowTheState) {
    const auto state = std::make_shared<WorkingOverlayState>();
    const WorkingOverlayModel model(AppSettings(), state);
    const SignalCount changes(model, &WorkingOverlayModel::statusChanged);
    EXPECT_EQ(model.eyebrow(), u"LUMIVANE IS ANALYZING"_qs);
    EXPECT_EQ(model.accessibilityLabel(), u"Lumivane is analyzing"_qs);
    EXPECT_EQ(model.status(), u"Processing\u2026"_qs);
    EXPECT_EQ(model.statusOpacity(), 0.75);
    state->setSlow(true);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(model.status(), u"Still thinking \u2014 this one is taking a while."_qs);
    EXPECT_EQ(model.statusOpacity(), 1);
}

TEST(WorkingOverlayModel, LooksAsTheSettingsSay) {
    AppSettings settings;
    settings.overlayTextSize = OverlayTextSize::large;
    settings.overlayTextColor = OverlayTextColor::mint;
    settings.overlayBackground = OverlayBackgroundStyle::slate;
    settings.backgroundOpacity = 40;
    const WorkingOverlayModel model(settings, std::make_shared<WorkingOverlayState>());
    EXPECT_EQ(model.statusSize(), 15);
    EXPECT_EQ(model.foreground(), paintColor(OverlayPalette::color(0x8FF0C2)));
    EXPECT_EQ(model.surface(false), paintColor(withOpacity(OverlayPalette::color(0x9A9EA3), 0.4)));
    EXPECT_EQ(model.surface(true), paintColor(OverlayPalette::color(0x9A9EA3)));
}

TEST(WorkingOverlayModel, SizesFollowTheTextSize) {
    AppSettings settings;
    const auto size = [&](OverlayTextSize textSize) {
        settings.overlayTextSize = textSize;
        return WorkingOverlayModel(settings, std::make_shared<WorkingOverlayState>()).statusSize();
    };
    EXPECT_EQ(size(OverlayTextSize::small), 11);
    EXPECT_EQ(size(OverlayTextSize::medium), 12.5);
}

} // namespace lumivane
