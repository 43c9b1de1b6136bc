// A note's page as a browser shows it. With LUMIVANE_NOTE_PICTURE=FILE the sample note is stored as
// a picture, too.

#include "notes/NoteDocument.h"
#include "support/XTestProcess.h"

#include <QColor>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <stdexcept>

namespace lumivane::test {

namespace {

const QString sample = QStringLiteral(R"(# Two Sum
**Status:** Locally checked: all approaches passed the tests of this exercise.

From a list of whole numbers, find the two different places whose values add up to a wanted total, and give back those two places. There is always one such pair.

## 1. Try every pair
Fix the first place, then look at every later one until the two values reach the total.
- Time: O(n²)
- Space: O(1)

### Code
```python
class Solution:
    def twoSum(self, nums: list[int], target: int) -> list[int]:
        for left in range(len(nums)):
            for right in range(left + 1, len(nums)):
                if nums[left] + nums[right] == target:
                    return [left, right]
        return []
```
## 2. Remember what was seen
Go through the list once and keep each value's place.
1. Look up what the present value still needs.
2. Give back both places if it was seen, else remember the present one.

### Code
```python
class Solution:
    def twoSum(self, nums: list[int], target: int) -> list[int]:
        seen: dict[int, int] = {}
        for place, value in enumerate(nums):
            if target - value in seen:
                return [seen[target - value], place]
            seen[value] = place
        return []
```)");

enum class Colours { light, dark };

constexpr int longestRun = 60000; ///< milliseconds, a bound for a browser that is broken

LeetCodeNote note(const QString& title, const QString& markdown) {
    return {title, LeetCodeAnswerStatus::memoryValidated, markdown,
            QDateTime(QDate(2026, 11, 21), QTime(12, 41, 54))};
}

/// The smallest area that holds all pixels of that very colour.
QRect areaOf(const QImage& picture, Qt::GlobalColor colour) {
    const QRgb wanted = QColor(colour).rgb();
    QRect area;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (picture.pixel(x, y) == wanted) {
                area |= QRect(x, y, 1, 1);
            }
        }
    }
    return area;
}

} // namespace

class NotePage : public testing::Test {
protected:
    /// How a browser shows the note, on a desktop that is light or dark. `paint` is style that
    /// makes places of the page easy to find.
    QImage shown(const LeetCodeNote& wanted, Colours colours, const QByteArray& paint = {},
                 const QSize& size = QSize(820, 700)) const {
        QByteArray page = noteDocument(wanted);
        page.replace("</head>", "<style>" + paint + "</style></head>");
        QFile file(place.filePath(u"note.html"_qs));
        if (!file.open(QIODevice::WriteOnly) || file.write(page) != page.size()) {
            throw std::runtime_error("the page cannot be written");
        }
        file.close();
        const QString picture = place.filePath(u"note.png"_qs);
        QStringList arguments{u"--no-sandbox"_qs,
                              u"--headless=new"_qs,
                              u"--disable-gpu"_qs,
                              u"--no-first-run"_qs,
                              u"--hide-scrollbars"_qs,
                              u"--force-device-scale-factor=1"_qs,
                              u"--host-resolver-rules=MAP * ~NOTFOUND"_qs,
                              u"--user-data-dir="_qs + place.filePath(u"browser"_qs),
                              u"--window-size=%1,%2"_qs.arg(size.width()).arg(size.height()),
                              u"--screenshot="_qs + picture};
        if (colours == Colours::dark) {
            arguments += u"--force-dark-mode"_qs;
        }
        browse(arguments << u"file://"_qs + file.fileName());
        QImage found(picture);
        if (found.size() != size) {
            throw std::runtime_error("the browser has made no picture");
        }
        return found;
    }

private:
    static void browse(const QStringList& arguments) {
        QProcess browser;
        browser.setStandardInputFile(QProcess::nullDevice());
        browser.setStandardOutputFile(QProcess::nullDevice());
        browser.setStandardErrorFile(QProcess::nullDevice());
        startInOwnGroup(browser, u"chromium"_qs, arguments);
        browser.waitForFinished(longestRun);
        endGroup(browser);
    }

    QTemporaryDir place;
};

TEST_F(NotePage, IsLightOnALightDesktopAndDarkOnADarkOne) {
    const LeetCodeNote wanted = note(u"Two Sum"_qs, u"```\nx\n```"_qs);
    const QByteArray wideHeader = "header { background: var(--ink); color: var(--ink); }";
    const QImage light = shown(wanted, Colours::light, wideHeader);
    const QImage dark = shown(wanted, Colours::dark, wideHeader);
    const QPoint corner(2, 2);
    EXPECT_EQ(light.pixelColor(corner).name(), u"#ffffff"_qs);
    EXPECT_EQ(dark.pixelColor(corner).name(), u"#16191d"_qs);
    const QPoint header(60, 45);
    EXPECT_EQ(light.pixelColor(header).name(), u"#1d2126"_qs);
    EXPECT_EQ(dark.pixelColor(header).name(), u"#e4e8ec"_qs);
}

TEST_F(NotePage, AQuestionFromRightToLeftStandsBetweenNameAndTime) {
    const QByteArray paint = "header { font-size: 32px; font-weight: bold; color: #ff0000; }"
                             "bdi { background: #0000ff; color: #0000ff; }";
    for (const QString& question : {u"قمين"_qs, u"\u202Egnp"_qs, u"\u2067gnp"_qs}) {
        const QImage page = shown(note(question, QString()), Colours::light, paint);
        const QRect title = areaOf(page, Qt::blue);
        const QRect behind =
            areaOf(page.copy(QRect(title.topRight(), page.rect().bottomRight())), Qt::red);
        EXPECT_GT(title.left(), 300) << question.toStdString(); // the program's name
        EXPECT_GT(behind.width(), 100) << question.toStdString();
    }
}

TEST_F(NotePage, ANoteFromRightToLeftHasItsListsOnTheRightAndItsCodeOnTheLeft) {
    const QString markdown = u"# שני מספרים\n- שני\n- O(n)\n1. מספרים\n```\nxxxx\n```"_qs;
    const QByteArray paint = "li::marker { color: #ff0000; } li { color: #ffffff; }"
                             "code { background: #00ff00; }";
    const QImage page = shown(note(u"T"_qs, markdown), Colours::light, paint);
    const QRect markers = areaOf(page, Qt::red);
    EXPECT_GT(markers.left(), 700);
    EXPECT_LT(markers.right(), 778); // the edge of the text
    const QRect code = areaOf(page, Qt::green);
    EXPECT_EQ(code.left(), 59);
    EXPECT_LT(code.width(), 60);
}

TEST_F(NotePage, ALongLineOfCodeStaysInItsBox) {
    const QString markdown = u"```\n%1\n%1\n```\n%2"_qs.arg(QString(400, u'x'), QString(300, u'y'));
    const QByteArray paint = "code { background: #00ff00; } p { background: #0000ff; }";
    const QImage page = shown(note(u"T"_qs, markdown), Colours::light, paint);
    EXPECT_EQ(areaOf(page, Qt::green).left(), 59);
    EXPECT_EQ(areaOf(page, Qt::green).right(), 776);
    EXPECT_EQ(areaOf(page, Qt::blue).right(), 777);
}

TEST_F(NotePage, LinesOfCodeStandCloserThanThoseOfText) {
    const auto heightOf = [this](int lines) {
        const QString markdown = u"```"_qs + u"\nx"_qs.repeated(lines) + u"\n```"_qs;
        const QImage page =
            shown(note(u"T"_qs, markdown), Colours::light, "pre { background: #00ff00; }");
        return areaOf(page, Qt::green).height();
    };
    EXPECT_EQ(heightOf(11) - heightOf(1), 10 * 21);
}

TEST_F(NotePage, NothingOnAPageRuns) {
    const QImage page =
        shown(note(u"T"_qs, QString()), Colours::light,
              "</style><script>document.documentElement.style.background = '#00ff00'</script>"
              "<style>");
    EXPECT_EQ(page.pixelColor(2, 2).name(), u"#ffffff"_qs);
}

TEST_F(NotePage, TheSampleFitsOnOnePicture) {
    const QImage page = shown(note(u"Two Sum"_qs, sample), Colours::light,
                              "main { border-bottom: 1px solid #00ff00; }", QSize(820, 1180));
    EXPECT_LT(areaOf(page, Qt::green).bottom(), page.height() - 20);
    const QString picture = qEnvironmentVariable("LUMIVANE_NOTE_PICTURE");
    if (!picture.isEmpty()) {
        const QImage plain = shown(note(u"Two Sum"_qs, sample), Colours::light, {}, page.size());
        EXPECT_TRUE(plain.convertToFormat(QImage::Format_RGB888).save(picture));
    }
}

} // namespace lumivane::test
