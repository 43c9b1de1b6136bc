#include "overlays/ResultFooterModel.h"

#include "SignalCount.h"
#include "support/FakeAnnouncer.h"
#include "support/FakePasteboard.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

namespace lumivane {

using test::SignalCount;
using Announcement = test::FakeAnnouncer::Announcement;

class ResultFooterModelTest : public testing::Test {
protected:
    ResultFooterModel footer(ResultCopyState copyState) {
        return {u"Click to dismiss"_qs, copyState, answer, settings, pasteboard, announcer};
    }

    QString answer = u"Reasoning\n```\nsecret code\n```"_qs;
    AppSettings settings;
    test::Journal journal;
    test::FakePasteboard clipboard{journal};
    OverlayPasteboard pasteboard{clipboard};
    test::FakeAnnouncer announcer;
    test::LogCapture log;
};

TEST_F(ResultFooterModelTest, OverlayPasteboardWritesTheTextAndTheTransientMark) {
    qint64 told = 0;
    QObject::connect(&pasteboard, &OverlayPasteboard::didWrite, &pasteboard,
                     [&](qint64 changeCount) { told = changeCount; });
    clipboard.copyElsewhere(u"before"_qs);
    pasteboard.copy(u"answer"_qs, settings);
    EXPECT_EQ(journal.entries(),
              (QStringList{u"clearPasteboard"_qs, u"setString"_qs, u"setTransient"_qs}));
    EXPECT_EQ(clipboard.contents.at(PasteboardType::string), u"answer"_qs);
    EXPECT_EQ(clipboard.contents.at(PasteboardType::transient), QString());
    EXPECT_EQ(told, clipboard.count) << "the count is taken after the writes";
}

TEST_F(ResultFooterModelTest, OverlayPasteboardPutsThePromptInFrontWhereWanted) {
    settings.includePromptWhenCopying = true;
    settings.preset = Preset::mcq;
    pasteboard.copy(u"B"_qs, settings);
    EXPECT_EQ(clipboard.contents.at(PasteboardType::string),
              u"Prompt: Multiple Choice\n\nResult: B"_qs);
}

TEST_F(ResultFooterModelTest, OffersTheCopyOrSaysThatItWasMade) {
    EXPECT_TRUE(footer(ResultCopyState::offersCopy).offersCopy());
    const ResultFooterModel copied = footer(ResultCopyState::alreadyCopied);
    EXPECT_FALSE(copied.offersCopy());
    EXPECT_EQ(copied.copiedText(), u"Copied to clipboard"_qs);
    EXPECT_EQ(copied.hint(), u"Click to dismiss"_qs);
}

TEST_F(ResultFooterModelTest, ButtonInvitesToCopy) {
    const ResultFooterModel model = footer(ResultCopyState::offersCopy);
    EXPECT_FALSE(model.didCopy());
    EXPECT_EQ(model.buttonSymbol(), u"doc.on.doc"_qs);
    EXPECT_EQ(model.buttonLabel(), u"Copy"_qs);
    EXPECT_EQ(model.buttonHelp(), u"Copy the answer to the clipboard"_qs);
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(ResultFooterModelTest, CopyingTakesTheWholeAnswerAndSaysSo) {
    ResultFooterModel model = footer(ResultCopyState::offersCopy);
    const SignalCount changes(model, &ResultFooterModel::didCopyChanged);
    model.copy();
    EXPECT_EQ(clipboard.contents.at(PasteboardType::string), answer);
    EXPECT_TRUE(model.didCopy());
    EXPECT_EQ(model.buttonSymbol(), u"checkmark"_qs);
    EXPECT_EQ(model.buttonLabel(), u"Copied"_qs);
    EXPECT_EQ(model.buttonHelp(), u"Copied to clipboard"_qs);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(announcer.announcements,
              (std::vector{Announcement{u"Copied to clipboard"_qs, AnnouncementPriority::medium}}));
    EXPECT_EQ(log.count("overlay", LogLevel::info, "Copied the result from the overlay footer"), 1);
    EXPECT_FALSE(log.holds("secret"));
}

TEST_F(ResultFooterModelTest, CopyingAgainWritesAgainAndStaysCopied) {
    ResultFooterModel model = footer(ResultCopyState::offersCopy);
    const SignalCount changes(model, &ResultFooterModel::didCopyChanged);
    model.copy();
    clipboard.copyElsewhere(u"else"_qs);
    model.copy();
    EXPECT_EQ(clipboard.contents.at(PasteboardType::string), answer);
    EXPECT_EQ(changes, 1);
    EXPECT_TRUE(model.didCopy());
    EXPECT_EQ(announcer.announcements.size(), 2U);
}

} // namespace lumivane
