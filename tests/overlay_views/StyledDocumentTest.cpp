#include "overlays/qml/StyledDocument.h"

#include "overlays/OverlayViews.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QTextBlock>
#include <QTextDocument>

#include <gtest/gtest.h>

namespace lumivane {

namespace {

class StyledDocumentTest : public testing::Test {
protected:
    StyledDocumentTest() {
        QQmlComponent component(&m_engine);
        component.setData("import QtQuick\nTextEdit { font.pixelSize: 12; text: \"before\" }", {});
        m_field.reset(component.create());
        m_styled.setDocument(m_field->property("textDocument").value<QQuickTextDocument*>());
    }

    QTextDocument& document() { return *m_styled.document()->textDocument(); }

    QTextCharFormat formatAt(int position) {
        QTextCursor cursor(&document());
        cursor.setPosition(position + 1); // a cursor tells of the character before it
        return cursor.charFormat();
    }

    void write(std::vector<StyledRun> runs) {
        m_styled.setText({std::move(runs)});
        m_styled.componentComplete();
    }

    QQmlEngine m_engine;
    std::unique_ptr<QObject> m_field;
    StyledDocument m_styled;
};

} // namespace

TEST_F(StyledDocumentTest, WaitsUntilAllIsKnownAndReplacesWhatWasThere) {
    m_styled.setText({{StyledRun{.text = u"after"_qs}}});
    EXPECT_EQ(document().toPlainText(), u"before"_qs);
    m_styled.componentComplete();
    EXPECT_EQ(document().toPlainText(), u"after"_qs);
    m_styled.setPlainText(u"changed"_qs);
    EXPECT_EQ(document().toPlainText(), u"changed"_qs);
    m_styled.setText({});
    EXPECT_EQ(document().toPlainText(), u""_qs);
}

TEST_F(StyledDocumentTest, GivesEveryRunItsStyle) {
    write({StyledRun{.text = u"p"_qs}, StyledRun{.text = u"s"_qs, .isStrong = true},
           StyledRun{.text = u"e"_qs, .isEmphasized = true},
           StyledRun{.text = u"c"_qs, .isCode = true},
           StyledRun{.text = u"x"_qs, .isStruckThrough = true},
           StyledRun{.text = u"b"_qs, .weight = StyledRun::Weight::bold},
           StyledRun{.text = u"h"_qs, .weight = StyledRun::Weight::heavy, .isStrong = true}});
    EXPECT_EQ(document().toPlainText(), u"psecxbh"_qs);
    EXPECT_FALSE(formatAt(0).hasProperty(QTextFormat::FontWeight)); // the field's own
    EXPECT_EQ(formatAt(1).fontWeight(), QFont::Bold);
    EXPECT_TRUE(formatAt(2).fontItalic());
    EXPECT_FALSE(formatAt(3).fontItalic());
    EXPECT_EQ(formatAt(3).fontFamilies().toStringList(),
              QFontDatabase::systemFont(QFontDatabase::FixedFont).families());
    EXPECT_TRUE(formatAt(4).fontStrikeOut());
    EXPECT_EQ(formatAt(5).fontWeight(), QFont::Bold);
    EXPECT_EQ(formatAt(6).fontWeight(), QFont::ExtraBold);
}

TEST_F(StyledDocumentTest, TakesSizesAtTheDetailOfItsField) {
    m_styled.setDetail(2);
    write({StyledRun{.text = u"a"_qs}, StyledRun{.text = u"b"_qs, .pointSize = 12.5 * 1.28}});
    EXPECT_FALSE(formatAt(0).hasProperty(QTextFormat::FontPixelSize));
    EXPECT_EQ(formatAt(1).property(QTextFormat::FontPixelSize).toInt(), 32);
}

TEST_F(StyledDocumentTest, ShadesCodeAndNothingElse) {
    m_styled.setCodeBackground(QColor(0, 0, 0, 40));
    write({StyledRun{.text = u"a"_qs}, StyledRun{.text = u"c"_qs, .isCode = true}});
    EXPECT_EQ(formatAt(0).background().style(), Qt::NoBrush);
    EXPECT_EQ(formatAt(1).background().color(), QColor(0, 0, 0, 40));
    m_styled.setCodeBackground(Qt::transparent);
    EXPECT_EQ(formatAt(1).background().style(), Qt::NoBrush);
}

TEST_F(StyledDocumentTest, TakesMarkupForWhatItIs) {
    write({StyledRun{.text = u"<b>a</b> & [x](y)"_qs}});
    EXPECT_EQ(document().toPlainText(), u"<b>a</b> & [x](y)"_qs);
    EXPECT_EQ(formatAt(3).fontWeight(), QFont::Normal);
}

TEST_F(StyledDocumentTest, KeepsNoHistoryOfWhatItWrote) {
    write({StyledRun{.text = u"a"_qs}});
    EXPECT_FALSE(document().isUndoAvailable());
}

TEST_F(StyledDocumentTest, OutlivesItsField) {
    m_field.reset();
    write({StyledRun{.text = u"a"_qs}});
    EXPECT_EQ(m_styled.plainText(), u"a"_qs);
}

} // namespace lumivane
