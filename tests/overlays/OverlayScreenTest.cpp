#include "overlays/OverlayScreen.h"

#include "support/FakeDisplayServer.h"

#include <gtest/gtest.h>

namespace lumivane {

namespace {

constexpr Rect leftFrame{-1280, 0, 1280, 1024};
constexpr Rect rightFrame{0, 0, 1440, 900};

class OverlayScreenTest : public testing::Test {
protected:
    OverlayScreenTest() {
        server.setDisplays({{3, leftFrame, 1, false}, {5, rightFrame, 2, true}});
        server.setVisibleFrame(5, Rect{0, 25, 1440, 850});
    }

    test::FakeDisplayServer server;
};

} // namespace

TEST_F(OverlayScreenTest, ADisplayIsFoundByItsNumberWithItsUsablePart) {
    EXPECT_EQ(screenWithDisplayID(server, 5), (OverlayScreen{5, {0, 25, 1440, 850}}));
    EXPECT_EQ(screenWithDisplayID(server, 3), (OverlayScreen{3, leftFrame}));
}

TEST_F(OverlayScreenTest, AnUnknownNumberIsNoDisplay) {
    EXPECT_EQ(screenWithDisplayID(server, 4), std::nullopt);
    server.setVisibleFrame(4, leftFrame);
    EXPECT_EQ(screenWithDisplayID(server, 4), std::nullopt) << "only the list says what is there";
}

TEST_F(OverlayScreenTest, ADisplayThatWentSinceIsNoDisplay) {
    server.setVisibleFrame(3, std::nullopt);
    EXPECT_EQ(screenWithDisplayID(server, 3), std::nullopt);
}

TEST_F(OverlayScreenTest, TheMainDisplayIsThePrimaryOne) {
    EXPECT_EQ(mainScreen(server), (OverlayScreen{5, {0, 25, 1440, 850}}));
}

TEST_F(OverlayScreenTest, WithoutAPrimaryDisplayTheFirstOneIsTheMainOne) {
    server.setDisplays({{3, leftFrame, 1, false}, {5, rightFrame, 2, false}});
    EXPECT_EQ(mainScreen(server), (OverlayScreen{3, leftFrame}));
}

TEST_F(OverlayScreenTest, WithoutADisplayThereIsNoMainOne) {
    server.setDisplays({});
    EXPECT_EQ(mainScreen(server), std::nullopt);
    EXPECT_EQ(screenWithDisplayID(server, 5), std::nullopt);
}

TEST_F(OverlayScreenTest, AServerThatFailsHasNoDisplay) {
    server.failDisplays("gone");
    EXPECT_EQ(mainScreen(server), std::nullopt);
    EXPECT_EQ(screenWithDisplayID(server, 5), std::nullopt);
}

} // namespace lumivane
