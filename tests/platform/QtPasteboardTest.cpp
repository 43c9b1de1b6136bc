#include "platform/linux/QtPasteboard.h"

#include "support/FakePasteboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

#include <gtest/gtest.h>

#include <memory>

namespace lumivane::test {

/// What every pasteboard does, the fake of the other tests and the real one alike.
struct PasteboardUnderTest {
    std::unique_ptr<LumivanePasteboard> pasteboard;
    std::function<void(const QString&)> copyElsewhere;
    std::function<QString()> text;
};

PasteboardUnderTest makeReal() {
    QClipboard* clipboard = QGuiApplication::clipboard();
    return {std::make_unique<QtPasteboard>(*clipboard),
            [clipboard](const QString& text) { clipboard->setText(text); },
            [clipboard] { return clipboard->text(); }};
}

PasteboardUnderTest makeFake() {
    static Journal journal;
    auto fake = std::make_unique<FakePasteboard>(journal);
    FakePasteboard* raw = fake.get();
    return {std::move(fake), [raw](const QString& text) { raw->copyElsewhere(text); },
            [raw] { return raw->contents[PasteboardType::string]; }};
}

class PasteboardContract : public testing::TestWithParam<PasteboardUnderTest (*)()> {
protected:
    PasteboardUnderTest subject = GetParam()();
    LumivanePasteboard& pasteboard = *subject.pasteboard;
};

TEST_P(PasteboardContract, AWriteReplacesWhatWasThere) {
    subject.copyElsewhere(u"before"_qs);
    pasteboard.clear();
    pasteboard.setString(u"answer"_qs, PasteboardType::string);
    pasteboard.setString(QString(), PasteboardType::transient);
    EXPECT_EQ(subject.text(), u"answer"_qs);
}

TEST_P(PasteboardContract, TheCountGrowsWithEveryChangeByAnyone) {
    const auto start = pasteboard.changeCount();
    pasteboard.clear();
    const auto afterClear = pasteboard.changeCount();
    EXPECT_GT(afterClear, start);
    pasteboard.setString(u"answer"_qs, PasteboardType::string);
    const auto afterWrite = pasteboard.changeCount();
    EXPECT_GE(afterWrite, afterClear);
    subject.copyElsewhere(u"mine"_qs);
    EXPECT_GT(pasteboard.changeCount(), afterWrite);
}

TEST_P(PasteboardContract, ClearingLeavesNoText) {
    subject.copyElsewhere(u"before"_qs);
    pasteboard.clear();
    EXPECT_EQ(subject.text(), QString());
}

INSTANTIATE_TEST_SUITE_P(Each, PasteboardContract, testing::Values(&makeReal, &makeFake),
                         [](const auto& each) { return each.index == 0 ? "Real" : "Fake"; });

TEST(QtPasteboard, ACopyCarriesBothMarksOfATransientText) {
    QtPasteboard pasteboard(*QGuiApplication::clipboard());
    pasteboard.clear();
    pasteboard.setString(u"answer"_qs, PasteboardType::string);
    pasteboard.setString(QString(), PasteboardType::transient);
    const QMimeData* contents = QGuiApplication::clipboard()->mimeData();
    EXPECT_TRUE(contents->hasFormat(u"org.nspasteboard.TransientType"_qs));
    EXPECT_EQ(contents->data(u"org.nspasteboard.TransientType"_qs), QByteArray());
    EXPECT_EQ(contents->data(u"x-kde-passwordManagerHint"_qs), QByteArray("secret"));
    EXPECT_EQ(contents->text(), u"answer"_qs);
}

TEST(QtPasteboard, AWholeCopyIsOneChange) {
    QtPasteboard pasteboard(*QGuiApplication::clipboard());
    const auto start = pasteboard.changeCount();
    pasteboard.clear();
    pasteboard.setString(u"answer"_qs, PasteboardType::string);
    pasteboard.setString(QString(), PasteboardType::transient);
    EXPECT_EQ(pasteboard.changeCount(), start + 1)
        << "a form written as a change of its own could be seen without its mark";
}

TEST(QtPasteboard, AFormWithoutAClearBeginsAPasteboardOfItsOwn) {
    QtPasteboard pasteboard(*QGuiApplication::clipboard());
    auto* foreign = new QMimeData;
    foreign->setText(u"mine"_qs);
    QGuiApplication::clipboard()->setMimeData(foreign);
    pasteboard.setString(u"answer"_qs, PasteboardType::string);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"answer"_qs);
}

} // namespace lumivane::test
