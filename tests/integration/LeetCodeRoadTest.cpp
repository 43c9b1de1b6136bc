// A worked exercise from the screen to a note on disk: the real program against the real service.

#include "accounts/AccountCoding.h"
#include "accounts/KeychainCredentialStore.h"
#include "async/SystemClock.h"
#include "integration/LocalService.h"
#include "server/accounts/SessionIssuer.h"
#include "server/store/Database.h"
#include "support/EventLoop.h"
#include "support/KeyringDaemon.h"
#include "support/LumivaneProgram.h"
#include "support/NotificationDesktop.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>

#include <gmock/gmock.h>

#include <stdexcept>
#include <vector>

namespace lumivane::test {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

const QString exercise = QStringLiteral(R"(<html><body style="font: 20px 'DejaVu Sans'">
<h1>1. Two Sum</h1>
<p>Given an array of integers nums and an integer target, return indices of the two numbers such
that they add up to target.</p>
<p>You may assume that each input would have exactly one solution, and you may not use the same
element twice.</p>
<p>You can return the answer in any order.</p>
<pre>class Solution:
    def twoSum(self, nums: List[int], target: int) -> List[int]:</pre>
</body></html>)");

const QString reason = QStringLiteral(
    "Lumivane could not add the solution to Notes. Open Notes once, then try again.");

} // namespace

class LeetCodeRoadTest : public testing::Test {
protected:
    LeetCodeRoadTest() {
        display.startWindowManager();
        display.run(u"xdotool"_qs, {u"mousemove"_qs, u"200"_qs, u"700"_qs});
        settings.configured = true;
        settings.preset = Preset::leetCode;
        settings.dwellSeconds = 0;
        settings.keepUntilDismissed = true;
        home.setSessionBus(bus.address());
        home.setService(service.baseURL());
        home.environment.insert(u"PATH"_qs, u"/usr/bin:/bin"_qs);
        describeFolders("XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n");
    }

    /// What the desktop has written down about the user's folders.
    void describeFolders(const QByteArray& lines) const {
        QDir().mkpath(home.path(u"CONFIG"_qs));
        QFile file(home.path(u"CONFIG/user-dirs.dirs"_qs));
        if (!file.open(QIODevice::WriteOnly) || file.write(lines) != lines.size()) {
            throw std::runtime_error("the user's folders cannot be described");
        }
    }

    /// As after a login at the service: the session is in the keyring.
    void logIn() {
        using namespace lumivane::service;
        DatabaseSettings place;
        place.location = service.databaseFile().toStdString();
        const auto login = Database::open(place)->transact([](soci::session& sql) {
            sql << "INSERT INTO accounts (id, display_name, handle, handle_folded, created_at) "
                   "VALUES ('ada', 'Ada', 'ada', 'ada', 1)";
            const DeviceRegistration laptop{"laptop-identifier-1", "Laptop", "laptop", "Debian 12"};
            return SessionIssuer(SessionSettings())
                .signIn(sql, "ada", laptop, SystemWallClock().now());
        });
        const auto& tokens = std::get<IssuedLogin>(login).tokens;
        const StoredSession session{SecretText(QByteArray::fromStdString(tokens.refreshToken)),
                                    SystemClock().wallNow().addDays(30), std::nullopt};
        keyring.storeByTool(KeychainCredentialStore::service, KeychainCredentialStore::account,
                            encodeSecretJson(session), u"com.marnoth.Lumivane.SecretItem"_qs);
    }

    std::unique_ptr<LumivaneProgram> start() {
        home.store(settings);
        auto program = std::make_unique<LumivaneProgram>(home);
        program->requireLog("Service health check completed; healthy=1");
        program->requireLog("Looked for a session; signedIn=1");
        return program;
    }

    void trigger() { display.run(u"xdotool"_qs, {u"mousemove"_qs, u"1279"_qs, u"799"_qs}); }

    QString noteFolder() const { return home.path(u"Dokumente/Lumivane LeetCode"_qs); }

    QByteArray note(const QString& suffix) const {
        QDirIterator files(noteFolder(), {u"*."_qs + suffix}, QDir::Files);
        if (!files.hasNext()) {
            return {};
        }
        QFile file(files.next());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /// Something of the user's stands where the notes would go.
    void blockFolder() const {
        QDir().mkpath(home.path(u"Dokumente"_qs));
        QFile obstacle(noteFolder());
        if (!obstacle.open(QIODevice::WriteOnly) || obstacle.write("mine") != 4) {
            throw std::runtime_error("nothing can be put there");
        }
    }

    /// The areas of the program's windows that can be seen.
    std::vector<QRect> panels(const LumivaneProgram& program) const {
        const QString search = u"for window in $(xdotool search --onlyvisible --pid %1); do "
                               u"xdotool getwindowgeometry --shell $window; done"_qs;
        const QString found =
            QString::fromUtf8(display.run(u"sh"_qs, {u"-c"_qs, search.arg(program.processID())}));
        static const QRegularExpression area(
            u"X=(-?\\d+)\nY=(-?\\d+)\nWIDTH=(\\d+)\nHEIGHT=(\\d+)"_qs);
        std::vector<QRect> areas;
        for (const auto& match : area.globalMatch(found)) {
            areas.emplace_back(match.captured(1).toInt(), match.captured(2).toInt(),
                               match.captured(3).toInt(), match.captured(4).toInt());
        }
        return areas;
    }

    XServer display{QSize(1280, 800)};
    DunstDesktop notifications;
    PrivateBus& bus = notifications.bus();
    KeyringDaemon keyring{bus};
    LocalService service;
    LumivaneHome home{display};
    AppSettings settings;
};

TEST_F(LeetCodeRoadTest, AKnownExerciseOnTheScreenEndsInANote) {
    logIn();
    const auto program = start();
    const DocumentWindow document(home, exercise, QRect(0, 0, 1280, 780));
    trigger();
    program->requireLog("Analysis completed");
    ASSERT_TRUE(waitUntil([this] { return !note(u"html"_qs).isEmpty(); }, std::chrono::seconds(30)))
        << program->log().toStdString();
    EXPECT_THAT(note(u"html"_qs).toStdString(),
                AllOf(HasSubstr("<!DOCTYPE html>"), HasSubstr("Two Sum"), HasSubstr("twoSum")));
    EXPECT_THAT(note(u"md"_qs).toStdString(), AllOf(HasSubstr("Two Sum"), HasSubstr("```python")));
    EXPECT_EQ(program->terminate(), 0);
    const std::string everything = program->log().toStdString() + service.log().toStdString();
    EXPECT_THAT(everything, AllOf(Not(HasSubstr("twoSum")), Not(HasSubstr("Two Sum"))));
}

TEST_F(LeetCodeRoadTest, ANoteThatCannotBeKeptIsToldByTheDesktopAndInThePanelOfTheAnswer) {
    logIn();
    blockFolder();
    const auto program = start();
    const DocumentWindow document(home, exercise, QRect(0, 0, 1280, 780));
    trigger();
    program->requireLog("LeetCode result could not be saved to Notes");
    program->requireLog("Reported a Notes failure inside the LeetCode panel");
    const auto told = notifications.shown(1); // comes after any panel would have
    ASSERT_EQ(told.size(), 1);
    EXPECT_EQ(told.first().title, u"Lumivane couldn’t save to Notes");
    EXPECT_EQ(told.first().body, reason);
    EXPECT_TRUE(waitUntil([&] { return panels(*program).size() == 1; })) << "the answer's own";
    EXPECT_EQ(program->terminate(), 0);
    QFile obstacle(noteFolder());
    EXPECT_TRUE(obstacle.open(QIODevice::ReadOnly));
    EXPECT_EQ(obstacle.readAll(), "mine");
}

TEST_F(LeetCodeRoadTest, WithoutAnAnswerOnScreenAPanelOfItsOwnTellsOfANoteThatIsNotKept) {
    logIn();
    blockFolder();
    settings.deliveryMode = DeliveryMode::clipboard;
    const auto program = start();
    const DocumentWindow document(home, exercise, QRect(0, 0, 1280, 780));
    trigger();
    program->requireLog("LeetCode result could not be saved to Notes");
    EXPECT_TRUE(waitUntil([&] { return panels(*program).size() == 1; }));
    const std::vector<QRect> areas = panels(*program);
    ASSERT_EQ(areas.size(), 1U);
    EXPECT_EQ(areas.front().size(), QSize(620, 132));
    EXPECT_EQ(areas.front().center().x(), QRect(0, 0, 1280, 800).center().x());
    EXPECT_LT(areas.front().bottom(), 400);
    EXPECT_EQ(notifications.shown(1).size(), 1);
    EXPECT_EQ(program->terminate(), 0);
}

TEST_F(LeetCodeRoadTest, AFileSystemThatDoesNotAnswerHoldsNeitherTheAnswerNorTheEnd) {
    logIn();
    QDir().mkpath(home.path(u"Dokumente"_qs));
    home.environment.insert(u"LD_PRELOAD"_qs, QStringLiteral(LUMIVANE_STALLED_FILE_SYSTEM));
    home.environment.insert(u"LUMIVANE_STALLED_FOLDER"_qs, noteFolder());
    const auto program = start();
    const DocumentWindow document(home, exercise, QRect(0, 0, 1280, 780));
    trigger();
    program->requireLog("Analysis completed");
    ASSERT_TRUE(waitUntil([this] { return QFile::exists(noteFolder() + u".STALLED"_qs); }));
    EXPECT_EQ(program->terminate(), 0) << program->log().toStdString();
    program->requireLog("Ending while a worker is still busy");
}

} // namespace lumivane::test
