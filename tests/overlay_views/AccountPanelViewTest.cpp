#include "overlay_views/ShownView.h"
#include "overlays/AccountPanelModel.h"

#include <QTest>

#include <gtest/gtest.h>

#include <optional>

namespace lumivane {

namespace {

class AccountPanelView : public testing::Test {
protected:
    test::ShownView& showLogin() {
        return show(AccountPanelModel::authenticationRequired([this] { ++m_actions; },
                                                              [this] { ++m_dismissals; }),
                    {430, 190});
    }

    test::ShownView& showEvicted(DeviceEvictedOrigin origin) {
        return show(AccountPanelModel::deviceEvicted(
                        origin, [this] { ++m_actions; }, [this] { ++m_dismissals; }),
                    {430, 205});
    }

    int m_actions = 0;
    int m_dismissals = 0;

private:
    test::ShownView& show(std::shared_ptr<QObject> model, QSize size) {
        m_shown.emplace(OverlayViews::account(), std::move(model), size);
        return *m_shown;
    }

    std::optional<test::ShownView> m_shown;
};

QStringList namesOf(const std::vector<test::SpokenElement>& spoken) {
    QStringList names;
    for (const test::SpokenElement& element : spoken) {
        names.append(element.name);
    }
    return names;
}

} // namespace

TEST_F(AccountPanelView, ShowsItsWordsUncut) {
    test::ShownView& view = showLogin();
    EXPECT_EQ(view.root()->objectName(), u"authenticationRequiredPopup"_qs);
    for (const QString& text :
         {u"LOGIN REQUIRED"_qs, u"Log in to Lumivane to analyze this screen."_qs,
          u"Nothing was captured or sent."_qs, u"Not now"_qs, u"Log in"_qs}) {
        ASSERT_TRUE(view.shows(text)) << text.toStdString();
        const QQuickItem* words = view.textItem(text);
        EXPECT_LE(words->property("contentWidth").toDouble(), words->width()) << text.toStdString();
        EXPECT_LE(words->property("contentHeight").toDouble(), words->height())
            << text.toStdString();
        EXPECT_FALSE(words->property("truncated").toBool()) << text.toStdString();
    }
}

TEST_F(AccountPanelView, HasRoomForTheLongerReassurance) {
    test::ShownView& view = showEvicted(DeviceEvictedOrigin::afterUpload);
    EXPECT_EQ(view.root()->objectName(), u"deviceEvictedPopup"_qs);
    const QQuickItem* body = view.textItem(
        u"Lumivane is signed in there now, so this Mac has been signed out. Log in again here to "
        u"move it back. The screenshot was not analysed and was not stored."_qs);
    ASSERT_NE(body, nullptr);
    EXPECT_LE(body->property("contentHeight").toDouble(), body->height());
    EXPECT_LE(view.place(body).bottom(), view.place(view.item(u"deviceEvictedLogIn"_qs)).top());
}

TEST_F(AccountPanelView, ButtonsDoWhatTheySay) {
    test::ShownView& view = showLogin();
    view.click(view.item(u"authenticationRequiredDismiss"_qs));
    EXPECT_EQ(m_dismissals, 1);
    EXPECT_EQ(m_actions, 0);
    view.click(view.item(u"authenticationRequiredLogin"_qs));
    EXPECT_EQ(m_dismissals, 1);
    EXPECT_EQ(m_actions, 1);
    test::ShownView& evicted = showEvicted(DeviceEvictedOrigin::beforeCapture);
    evicted.click(evicted.item(u"deviceEvictedLogIn"_qs));
    EXPECT_EQ(m_actions, 2);
    evicted.click(evicted.item(u"deviceEvictedDismiss"_qs));
    EXPECT_EQ(m_dismissals, 2);
}

TEST_F(AccountPanelView, ReturnActsAndEscapeDismisses) {
    test::ShownView& view = showLogin();
    QTest::keyClick(&view.window(), Qt::Key_Return);
    EXPECT_EQ(m_actions, 1);
    QTest::keyClick(&view.window(), Qt::Key_Enter);
    EXPECT_EQ(m_actions, 2);
    EXPECT_EQ(m_dismissals, 0);
    QTest::keyClick(&view.window(), Qt::Key_Escape);
    EXPECT_EQ(m_dismissals, 1);
    QTest::keyClick(&view.window(), Qt::Key_A);
    EXPECT_EQ(m_actions, 2);
    EXPECT_EQ(m_dismissals, 1);
}

TEST_F(AccountPanelView, TabWalksTheButtonsAndSpacePresses) {
    test::ShownView& view = showLogin();
    QTest::keyClick(&view.window(), Qt::Key_Tab);
    EXPECT_TRUE(view.item(u"authenticationRequiredDismiss"_qs)->hasActiveFocus());
    QTest::keyClick(&view.window(), Qt::Key_Tab);
    EXPECT_TRUE(view.item(u"authenticationRequiredLogin"_qs)->hasActiveFocus());
    QTest::keyClick(&view.window(), Qt::Key_Backtab);
    QTest::keyClick(&view.window(), Qt::Key_Space);
    EXPECT_EQ(m_dismissals, 1);
    QTest::keyClick(&view.window(), Qt::Key_Return); // the default action, wherever the focus is
    EXPECT_EQ(m_actions, 1);
}

TEST_F(AccountPanelView, IsReadLineByLineAndPressable) {
    test::ShownView& view = showLogin();
    EXPECT_EQ(namesOf(view.spoken()),
              (QStringList{u"Log in to Lumivane to analyze this screen."_qs, u"LOGIN REQUIRED"_qs,
                           u"Log in to Lumivane to analyze this screen."_qs,
                           u"Nothing was captured or sent."_qs, u"Not now"_qs, u"Log in"_qs}));
    EXPECT_EQ(view.spoken()[0].role, QAccessible::Dialog);
    view.spokenElement(u"Log in"_qs)
        ->actionInterface()
        ->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(m_actions, 1);
}

TEST_F(AccountPanelView, IsReadAsAWholeWhenSignedInElsewhere) {
    test::ShownView& view = showEvicted(DeviceEvictedOrigin::beforeCapture);
    EXPECT_EQ(namesOf(view.spoken()),
              (QStringList{u"You signed in on another Mac. Lumivane is signed in there now."_qs,
                           u"Not now"_qs, u"Log in again"_qs}));
}

} // namespace lumivane
