#include "platform/linux/XcbDisplayServer.h"
#include "support/FakeDisplayServer.h"
#include "support/XServer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <set>
#include <thread>

namespace lumivane {

namespace {

/// A desktop whose one display may be asked for anything.
class Desktop {
public:
    virtual ~Desktop() = default;
    virtual DisplayServer& displayServer() = 0;
};

class FakeDesktop final : public Desktop {
public:
    DisplayServer& displayServer() override { return m_displayServer; }

private:
    test::FakeDisplayServer m_displayServer;
};

class X11Desktop final : public Desktop {
public:
    DisplayServer& displayServer() override { return m_displayServer; }

private:
    test::XServer m_server;
    XcbDisplayServer m_displayServer{nullptr, m_server.displayName()};
};

struct DesktopKind {
    const char* name;
    std::function<std::unique_ptr<Desktop>()> make;
};

} // namespace

class DisplayServerContractTest : public testing::TestWithParam<DesktopKind> {
protected:
    DisplayServer& server() { return desktop->displayServer(); }

    DisplayInfo primary() {
        for (const DisplayInfo& info : server().displays()) {
            if (info.isPrimary) {
                return info;
            }
        }
        ADD_FAILURE() << "no primary display";
        return {};
    }

    std::uint32_t unknownDisplay() {
        std::set<std::uint32_t> known;
        for (const DisplayInfo& info : server().displays()) {
            known.insert(info.displayID);
        }
        std::uint32_t unknown = 0;
        while (known.contains(unknown)) {
            ++unknown;
        }
        return unknown;
    }

    std::unique_ptr<Desktop> desktop = GetParam().make();
};

TEST_P(DisplayServerContractTest, MayCaptureWhenNothingForbidsIt) {
    EXPECT_TRUE(server().mayCapture());
}

TEST_P(DisplayServerContractTest, OnePrimaryDisplayStandsAtTheOrigin) {
    int primaries = 0;
    std::set<std::uint32_t> identifiers;
    for (const DisplayInfo& info : server().displays()) {
        primaries += info.isPrimary ? 1 : 0;
        identifiers.insert(info.displayID);
        EXPECT_GT(info.pointPixelScale, 0);
        EXPECT_FALSE(info.frame.isEmpty());
    }
    EXPECT_EQ(primaries, 1);
    EXPECT_EQ(identifiers.size(), server().displays().size());
    EXPECT_EQ(primary().frame.x, 0);
    EXPECT_EQ(primary().frame.y, 0);
}

TEST_P(DisplayServerContractTest, SameQuestionGetsTheSameAnswer) {
    EXPECT_EQ(server().displays(), server().displays());
}

TEST_P(DisplayServerContractTest, WithoutPanelsTheWholeDisplayIsFree) {
    EXPECT_EQ(server().visibleFrame(primary().displayID), primary().frame);
}

TEST_P(DisplayServerContractTest, UnknownDisplayHasNoVisibleFrameAndNoStill) {
    const std::uint32_t unknown = unknownDisplay();
    EXPECT_EQ(server().visibleFrame(unknown), std::nullopt);
    EXPECT_THROW(server().still({unknown, getpid(), std::nullopt, {10, 10}}), DisplayServerError);
}

TEST_P(DisplayServerContractTest, PointerLiesOnADisplay) {
    const auto location = server().pointerLocation();
    ASSERT_TRUE(location);
    EXPECT_TRUE(displayContaining(server().displays(), *location));
    EXPECT_EQ(displayUnderPointer(server()), primary());
}

TEST_P(DisplayServerContractTest, StillHasExactlyTheSizeThatIsAskedFor) {
    const std::uint32_t identifier = primary().displayID;
    for (const PixelSize size : {PixelSize{1, 1}, {640, 480}, {33, 7}, {2000, 3}}) {
        const QImage whole = server().still({identifier, getpid(), std::nullopt, size});
        EXPECT_EQ(whole.size(), QSize(size.width, size.height));
        const QImage part = server().still({identifier, getpid(), Rect{1, 2, 30, 40}, size});
        EXPECT_EQ(part.size(), QSize(size.width, size.height));
        EXPECT_EQ(part.format(), QImage::Format_RGB32);
    }
}

TEST_P(DisplayServerContractTest, StillOfNoSizeIsAnError) {
    const std::uint32_t identifier = primary().displayID;
    EXPECT_THROW(server().still({identifier, getpid(), std::nullopt, {0, 10}}), DisplayServerError);
    EXPECT_THROW(server().still({identifier, getpid(), std::nullopt, {10, -1}}),
                 DisplayServerError);
}

TEST_P(DisplayServerContractTest, AnswersOnAnyThread) {
    const DisplayInfo expected = primary();
    bool allRight = false;
    std::thread worker([&] {
        allRight =
            server().mayCapture() && server().displays().front() == expected &&
            server().visibleFrame(expected.displayID) == expected.frame &&
            server().pointerLocation().has_value() &&
            server().still({expected.displayID, getpid(), std::nullopt, {3, 2}}).width() == 3;
    });
    worker.join();
    EXPECT_TRUE(allRight);
}

INSTANTIATE_TEST_SUITE_P(
    , DisplayServerContractTest,
    testing::Values(DesktopKind{"Fake", [] { return std::make_unique<FakeDesktop>(); }},
                    DesktopKind{"X11", [] { return std::make_unique<X11Desktop>(); }}),
    [](const testing::TestParamInfo<DesktopKind>& info) { return info.param.name; });

} // namespace lumivane
