#include "platform/linux/QtApplicationShell.h"

#include "async/MainThread.h"

#include <QApplication>

#include <gtest/gtest.h>

#include <vector>

namespace lumivane {

namespace {

QPalette paletteOf(Appearance appearance) {
    return QPalette(appearance == Appearance::dark ? Qt::black : Qt::red);
}

} // namespace

class QtApplicationShellTest : public testing::Test {
protected:
    ~QtApplicationShellTest() override { QGuiApplication::setPalette(m_before); }

    std::vector<int> done;
    QtApplicationShell shell{paletteOf};

private:
    QPalette m_before = QGuiApplication::palette();
};

TEST_F(QtApplicationShellTest, TheAppearanceIsThatOfTheWholeApplicationFromThenOn) {
    shell.setAppearance(Appearance::dark);
    EXPECT_EQ(QGuiApplication::palette().button().color(), QColor(Qt::black));
    EXPECT_EQ(QApplication::palette("QMenu").button().color(), QColor(Qt::black));
    shell.setAppearance(Appearance::light);
    EXPECT_EQ(QGuiApplication::palette().button().color(), QColor(Qt::red));
}

TEST_F(QtApplicationShellTest, AnEndThatIsAskedForBeforeTheLoopEndsItOnceItRuns) {
    postToMainThread([this] { done.push_back(1); });
    shell.terminate();
    EXPECT_TRUE(done.empty());
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_EQ(done, std::vector{1});
}

TEST_F(QtApplicationShellTest, AnEndThatIsAskedForInTheLoopLetsRunWhatWasPostedBefore) {
    postToMainThread([this] {
        postToMainThread([this] { done.push_back(2); });
        shell.terminate();
        done.push_back(1);
    });
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_EQ(done, (std::vector{1, 2}));
}

TEST_F(QtApplicationShellTest, AskingTwiceEndsOnlyOneLoop) {
    postToMainThread([this] {
        shell.terminate();
        shell.terminate();
    });
    EXPECT_EQ(QCoreApplication::exec(), 0);
    postToMainThread([this] { done.push_back(1); });
    shell.terminate();
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_EQ(done, std::vector{1});
}

} // namespace lumivane
