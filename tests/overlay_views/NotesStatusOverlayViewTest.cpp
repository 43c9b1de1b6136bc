#include "overlay_views/ShownView.h"
#include "overlays/NotesStatusModel.h"

#include <gtest/gtest.h>

namespace lumivane {

namespace {

const QString message = u"Notes could not be reached, so the solution was not saved."_qs;

class NotesStatusOverlayView : public testing::Test {
protected:
    test::ShownView show(const QString& text, int width = 620) {
        return {OverlayViews::notesStatus(),
                std::make_shared<NotesStatusModel>(text, [this] { ++m_dismissals; }),
                {width, 132}};
    }

    int m_dismissals = 0;
};

} // namespace

TEST_F(NotesStatusOverlayView, ShowsWhatHappenedAndCanBeClosed) {
    test::ShownView view = show(message);
    EXPECT_TRUE(view.shows(u"SOLUTION NOT SAVED TO NOTES"_qs));
    ASSERT_TRUE(view.shows(message));
    EXPECT_DOUBLE_EQ(view.textItem(message)->parentItem()->opacity(), 0.75);
    view.click(QPoint(200, 60));
    EXPECT_EQ(m_dismissals, 0);
    view.click(view.item(u"notesStatusDismiss"_qs));
    EXPECT_EQ(m_dismissals, 1);
}

TEST_F(NotesStatusOverlayView, CutsAMessageThatHasNoRoomAndKeepsInsideItsPadding) {
    const QString endless = message.repeated(12);
    test::ShownView view = show(endless, 320);
    const QQuickItem* text = view.textItem(endless);
    ASSERT_NE(text, nullptr);
    EXPECT_TRUE(text->property("truncated").toBool());
    EXPECT_LE(view.place(text).bottom(), 132 - 18);
    EXPECT_GE(view.place(view.textItem(u"SOLUTION NOT SAVED TO NOTES"_qs)).top(), 17);
}

TEST_F(NotesStatusOverlayView, IsAnAlertWithOneButton) {
    test::ShownView view = show(message);
    const auto spoken = view.spoken();
    ASSERT_EQ(spoken.size(), 2U);
    EXPECT_EQ(spoken[0].name, u"LeetCode solution was not saved to Notes"_qs);
    EXPECT_EQ(spoken[0].description, message);
    EXPECT_EQ(spoken[0].role, QAccessible::AlertMessage);
    EXPECT_EQ(spoken[1].name, u"Dismiss Notes status"_qs);
    view.spokenElement(u"Dismiss Notes status"_qs)
        ->actionInterface()
        ->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(m_dismissals, 1);
}

TEST_F(NotesStatusOverlayView, HasTheColoursOfItsKind) {
    const QImage picture = show(message).picture();
    const QColor fill = picture.pixelColor(300, 6);
    EXPECT_NEAR(fill.redF(), 0.25, 0.005);
    EXPECT_NEAR(fill.greenF(), 0.12, 0.005);
    EXPECT_NEAR(fill.blueF(), 0.04, 0.005);
    EXPECT_NEAR(fill.alphaF(), 0.98, 0.005);
    EXPECT_EQ(picture.pixelColor(0, 0).alpha(), 0);
}

} // namespace lumivane
