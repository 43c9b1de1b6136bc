#include "UserHome.h"
#include "notes/FolderNotesService.h"
#include "notes/NoteDocument.h"
#include "platform/linux/LinuxFileStaging.h"
#include "platform/linux/UserFolders.h"
#include "support/CommonUser.h"
#include "support/FileSizeLimit.h"
#include "support/ManualClock.h"
#include "support/Outcome.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <optional>

namespace lumivane {

using test::waitUntil;

namespace {

using Flow = std::shared_ptr<test::Outcome<bool>>;

const NotesServiceError denied(NotesServiceError::Case::automationDenied);
const NotesServiceError failed(NotesServiceError::Case::creationFailed);

LeetCodeNote note(const QString& title, const QString& markdown) {
    return {title, LeetCodeAnswerStatus::liveUnvalidated, markdown,
            QDateTime(QDate(2026, 11, 21), QTime(12, 41, 54))};
}

} // namespace

class FolderNotesOnDisk : public testing::Test {
protected:
    ~FolderNotesOnDisk() override {
        pool.waitForDone();
        test::drainEvents();
    }

    Flow start(const LeetCodeNote& wanted, std::stop_token stop = std::stop_token()) {
        return test::watch(test::flagged(service.createLeetCodeNote(wanted, std::move(stop))));
    }

    bool saves(const LeetCodeNote& wanted) {
        const Flow flow = start(wanted);
        EXPECT_TRUE(waitUntil([&] { return flow->hasEnded(); }));
        return flow->value.value_or(false);
    }

    std::optional<NotesServiceError> failureOfSaving(const LeetCodeNote& wanted) {
        const Flow flow = start(wanted);
        EXPECT_TRUE(waitUntil([&] { return flow->hasEnded(); }));
        return flow->errorAs<NotesServiceError>();
    }

    QStringList everything() const {
        return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                      QDir::NoDotAndDotDot);
    }

    QByteArray content(const QString& name) const {
        QFile file(QDir(folder).filePath(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
        return file.readAll();
    }

    QTemporaryDir place;
    QString folder = place.filePath(u"Dokumente/Lumivane LeetCode"_qs);
    QThreadPool pool;
    LinuxFileStaging files;
    test::ManualClock clock;
    FolderNotesService service{files, pool, clock,
                               [this] { return place.filePath(u"Dokumente"_qs); }};
    const QString stem = u"Two Sum - 2026-11-21 12.41.54"_qs;
};

TEST_F(FolderNotesOnDisk, ANoteIsThereAndASecondOfItsNameToo) {
    EXPECT_TRUE(saves(note(u"Two Sum"_qs, u"# a"_qs)));
    EXPECT_TRUE(saves(note(u"Two Sum"_qs, u"# b"_qs)));
    EXPECT_EQ(everything(), (QStringList{stem + u" (2).html"_qs, stem + u" (2).md"_qs,
                                         stem + u".html"_qs, stem + u".md"_qs}));
    EXPECT_EQ(content(stem + u".md"_qs), "# a");
    EXPECT_EQ(content(stem + u" (2).md"_qs), "# b");
    EXPECT_EQ(content(stem + u".html"_qs), noteDocument(note(u"Two Sum"_qs, u"# a"_qs)));
}

TEST_F(FolderNotesOnDisk, AFolderDeletedBetweenTwoSavesIsMadeAnew) {
    EXPECT_TRUE(saves(note(u"Two Sum"_qs, u"# a"_qs)));
    ASSERT_TRUE(QDir(place.filePath(u"Dokumente"_qs)).removeRecursively());
    EXPECT_TRUE(saves(note(u"Two Sum"_qs, u"# b"_qs)));
    EXPECT_EQ(content(stem + u".md"_qs), "# b");
}

TEST_F(FolderNotesOnDisk, NotesAreWhereTheDesktopSaysByTheTimeOfTheSave) {
    const test::UserHome home;
    service = FolderNotesService(files, pool, clock, UserFolders::documents);
    home.describeFolders("XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n");
    EXPECT_TRUE(saves(note(u"Two Sum"_qs, u"# a"_qs)));
    home.describeFolders("XDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n");
    EXPECT_TRUE(saves(note(u"Two Sum"_qs, u"# b"_qs)));
    for (const QString& documents : {u"Dokumente"_qs, u"Papers"_qs}) {
        EXPECT_EQ(
            QDir(home.path(documents + u"/Lumivane LeetCode"_qs)).entryList(QDir::Files).size(), 2);
    }
}

TEST_F(FolderNotesOnDisk, OfAUserWithoutAFolderForDocumentsTheyAreInTheHome) {
    const test::UserHome home;
    service = FolderNotesService(files, pool, clock, UserFolders::documents);
    home.describeFolders("XDG_DOCUMENTS_DIR=\"$HOME/\"\n");
    EXPECT_TRUE(saves(note(u"Two Sum"_qs, u"# a"_qs)));
    folder = home.path(u"Lumivane LeetCode"_qs);
    EXPECT_EQ(everything(), (QStringList{stem + u".html"_qs, stem + u".md"_qs}));
    EXPECT_EQ(content(stem + u".md"_qs), "# a");
}

TEST_F(FolderNotesOnDisk, AFileWhereTheFolderShouldBeFailsTheCreation) {
    ASSERT_TRUE(QDir().mkpath(place.filePath(u"Dokumente"_qs)));
    QFile file(folder);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(failureOfSaving(note(u"Two Sum"_qs, u"# a"_qs)), failed);
}

TEST_F(FolderNotesOnDisk, ADiskThatIsFullFailsTheCreationAndLeavesNothing) {
    const test::FileSizeLimit limit(64 * 1024);
    // The page of such a note is longer than its Markdown, which still fits.
    const QString markdown(64 * 1024, u'x');
    EXPECT_EQ(failureOfSaving(note(u"Two Sum"_qs, markdown)), failed);
    EXPECT_EQ(everything(), QStringList());
    EXPECT_TRUE(saves(note(u"Two Sum"_qs, u"# a"_qs)));
}

TEST_F(FolderNotesOnDisk, AHomeThatMayNotBeWrittenIsADenial) {
    const QByteArray home = QFile::encodeName(place.path());
    ASSERT_EQ(::chmod(home.constData(), 0555), 0);
    pool.setMaxThreadCount(1);
    pool.setExpiryTimeout(-1);
    pool.start(test::becomeCommonUser); // the thread that writes, and no other one
    EXPECT_EQ(failureOfSaving(note(u"Two Sum"_qs, u"# a"_qs)), denied);
    ASSERT_EQ(::chmod(home.constData(), 0755), 0);
    EXPECT_TRUE(QDir(place.path()).isEmpty());
}

TEST_F(FolderNotesOnDisk, NastyTitlesAreTakenByARealFileSystem) {
    const std::vector<QString> titles{
        u"../../../etc/cron.d/x"_qs,
        u"a"_qs + QChar(QChar::Null) + u"b"_qs,
        u"\u202Egnp.exe"_qs,
        u"\U0001F600\U0001F680"_qs,
        QString(1000, u'q'),
        u"漢"_qs.repeated(1000),
        u"\U0001F468\u200D\U0001F469\u200D\U0001F467"_qs.repeated(200),
        u"NUL"_qs,
        u" . "_qs,
        QString(QChar(0xD800)),
        u"a"_qs + u"\u0335"_qs.repeated(1000),
        QString()};
    for (const QString& title : titles) {
        EXPECT_TRUE(saves(note(title, u"x"_qs))) << title.toStdString();
    }
    EXPECT_EQ(everything().size(), 2 * static_cast<qsizetype>(titles.size()));
    EXPECT_EQ(QDir(place.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList{u"Dokumente"_qs});
}

TEST_F(FolderNotesOnDisk, TenMebibytesOfMarkdownAreKept) {
    const QString markdown = u"- a line of an answer\n"_qs.repeated(10 * 1024 * 1024 / 22);
    EXPECT_TRUE(saves(note(u"Two Sum"_qs, markdown)));
    EXPECT_EQ(content(stem + u".md"_qs), markdown.toUtf8());
    EXPECT_TRUE(content(stem + u".html"_qs).endsWith("</html>\n"));
}

TEST_F(FolderNotesOnDisk, ASaveCancelledByTheNextIsThereWholeOrNotAtAll) {
    const QString markdown = u"- a line of an answer\n"_qs.repeated(50'000);
    for (int round = 0; round < 10; ++round) {
        std::stop_source stop;
        const Flow first = start(note(u"First"_qs, markdown), stop.get_token());
        waitUntil([&] { return !everything().isEmpty() || first->hasEnded(); });
        stop.request_stop();
        EXPECT_TRUE(saves(note(u"Second"_qs, u"x"_qs)));
        const QStringList names = everything();
        EXPECT_TRUE(names.filter(u".tmp"_qs).isEmpty());
        const QString page = u"First - 2026-11-21 12.41.54.html"_qs;
        EXPECT_EQ(names.size(), names.contains(page) ? 4 : 2);
        EXPECT_EQ(names.contains(u"First - 2026-11-21 12.41.54.md"_qs), names.contains(page));
        if (names.contains(page)) {
            EXPECT_TRUE(content(page).endsWith("</html>\n"));
        }
        ASSERT_TRUE(QDir(folder).removeRecursively());
    }
}

} // namespace lumivane
