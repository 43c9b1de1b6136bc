#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace lumivane {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr int margin = 44; ///< points of desktop around a panel

struct Ended {
    int exitCode = -1;
    std::string output;
    std::string errors;
};

Ended overlayGallery(const QStringList& arguments) {
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // A display that is not there must not matter.
    environment.insert(u"DISPLAY"_qs, u":4711"_qs);
    environment.insert(u"QT_QPA_PLATFORM"_qs, u"xcb"_qs);
    program.setProcessEnvironment(environment);
    program.start(QStringLiteral(LUMIVANE_OVERLAY_GALLERY), arguments);
    if (!program.waitForFinished(90000)) {
        program.kill();
        program.waitForFinished();
        ADD_FAILURE() << "overlay-gallery did not end";
        return {};
    }
    return {program.exitCode(), program.readAllStandardOutput().toStdString(),
            program.readAllStandardError().toStdString()};
}

QSize withMargin(const QSize& panel, double scale) {
    return ((QSizeF(panel) + QSizeF(2 * margin, 2 * margin)) * scale).toSize();
}

std::size_t countColours(const QImage& image, const QRect& area) {
    std::set<QRgb> colours;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            colours.insert(image.pixel(x, y));
        }
    }
    return colours.size();
}

/// Pixels of a text on the panel: whatever is as bright as nothing else on a dark desktop.
int countBright(const QImage& image, const QRect& area) {
    constexpr int bright = 240;
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            count += qGray(image.pixel(x, y)) >= bright ? 1 : 0;
        }
    }
    return count;
}

} // namespace

class OverlayGalleryTest : public testing::Test {
protected:
    QImage picture(const QString& scale, const QString& name) const {
        return QImage(folder.filePath(u"%1x/%2.png"_qs.arg(scale, name)));
    }

    QStringList pictures(const QString& path) const {
        return QDir(folder.filePath(path)).entryList({u"*.png"_qs}, QDir::Files, QDir::Name);
    }

    QTemporaryDir folder;
};

TEST_F(OverlayGalleryTest, TakesOnePictureOfEachPanelThatFits) {
    const Ended ended = overlayGallery(
        {folder.path(), u"--scale"_qs, u"1"_qs, u"--only"_qs, u"panels/working*"_qs});
    EXPECT_EQ(ended.exitCode, 0) << ended.errors;
    EXPECT_THAT(ended.output, IsEmpty());
    const QStringList expected{u"working-dark.png"_qs, u"working-light.png"_qs,
                               u"working-slow-dark.png"_qs, u"working-slow-light.png"_qs};
    EXPECT_EQ(pictures(u"1x/panels"_qs), expected);
    for (const QString& name : expected) {
        const QImage image(folder.filePath(u"1x/panels/"_qs + name));
        EXPECT_EQ(image.size(), withMargin(QSize(400, 112), 1)) << name.toStdString();
    }
    EXPECT_NE(picture(u"1"_qs, u"panels/working-dark"_qs),
              picture(u"1"_qs, u"panels/working-slow-dark"_qs));
    EXPECT_NE(picture(u"1"_qs, u"panels/working-dark"_qs),
              picture(u"1"_qs, u"panels/working-light"_qs));
}

TEST_F(OverlayGalleryTest, EveryKindHasItsSizeAndIsNotBlank) {
    const Ended ended =
        overlayGallery({folder.path(), u"--scale"_qs, u"1"_qs, u"--only"_qs, u"panels/*-dark"_qs});
    ASSERT_EQ(ended.exitCode, 0) << ended.errors;
    const std::pair<QString, QSize> sizes[] = {
        {u"working"_qs, QSize(400, 112)},
        {u"choice"_qs, QSize(360, 210)},
        {u"answers"_qs, QSize(500, 280)},
        {u"text"_qs, QSize(500, 250)},
        {u"error"_qs, QSize(560, 240)},
        {u"notes-status"_qs, QSize(620, 132)},
        {u"login-required"_qs, QSize(430, 190)},
        {u"signed-out-before-capture"_qs, QSize(430, 205)},
        {u"signed-out-after-upload"_qs, QSize(430, 205)},
        {u"leetcode-checked"_qs, QSize(1100, 775)},
    };
    for (const auto& [name, size] : sizes) {
        const QImage image = picture(u"1"_qs, u"panels/%1-dark"_qs.arg(name));
        ASSERT_EQ(image.size(), withMargin(size, 1)) << name.toStdString();
        // The left third of the panel has words and nothing of the window behind.
        const QRect left(margin, margin, size.width() / 3, size.height());
        EXPECT_GT(countColours(image, left), 30U) << name.toStdString();
        if (name != u"working"_qs) { // its words are not white
            const QRect panel(QPoint(margin, margin), size);
            EXPECT_GT(countBright(image, panel), 30) << name.toStdString();
        }
    }
}

TEST_F(OverlayGalleryTest, ScalesAreDrawnAndNotBlownUp) {
    const Ended ended = overlayGallery({folder.path(), u"--only"_qs, u"panels/text-dark"_qs});
    ASSERT_EQ(ended.exitCode, 0) << ended.errors;
    const QSize panel(500, 250);
    for (const double scale : {1.0, 1.5, 2.0}) {
        const QImage image = picture(QString::number(scale), u"panels/text-dark"_qs);
        EXPECT_EQ(image.size(), withMargin(panel, scale)) << scale;
    }
    // A picture that was blown up has pairs of equal columns.
    const auto differentPairs =
        [large = picture(u"2"_qs, u"panels/text-dark"_qs)](const QRect& points) {
            int count = 0;
            for (int y = 2 * points.top(); y <= 2 * points.bottom(); ++y) {
                for (int x = 2 * points.left(); x <= 2 * points.right(); x += 2) {
                    count += large.pixel(x, y) != large.pixel(x + 1, y) ? 1 : 0;
                }
            }
            return count;
        };
    const QRect words(margin + 18, margin + 50, 200, 120);
    EXPECT_GT(differentPairs(words), 500);
    const QRect mark(margin + 18, margin + 22, 12, 12);
    EXPECT_GT(differentPairs(mark), 15);
}

TEST_F(OverlayGalleryTest, TransparencyLetsTheDesktopThroughAndIsTakenAway) {
    const auto sky = [](const QImage& image) {
        // Under the panel's right edge lies the sun, further down on the left does not.
        const QPoint overSun(image.width() - margin - 12, margin + 14);
        const QPoint overSky(margin + 12, margin + 14);
        return std::pair(image.pixel(overSun), image.pixel(overSky));
    };
    for (const QString& name : {u"panels/text-light"_qs, u"solid/text-light"_qs}) {
        const Ended ended =
            overlayGallery({folder.path(), u"--scale"_qs, u"1"_qs, u"--only"_qs, name});
        ASSERT_EQ(ended.exitCode, 0) << ended.errors;
    }
    const auto [throughSun, throughSky] = sky(picture(u"1"_qs, u"panels/text-light"_qs));
    EXPECT_NE(throughSun, throughSky);
    const auto [solidSun, solidSky] = sky(picture(u"1"_qs, u"solid/text-light"_qs));
    EXPECT_EQ(solidSun, solidSky);
    EXPECT_EQ(solidSun & RGB_MASK, 0x1C1D1FU);
}

TEST_F(OverlayGalleryTest, WritesOneSheetAndSaysWhere) {
    const QString sheet = folder.filePath(u"deep/sheet.png"_qs);
    const Ended ended = overlayGallery({folder.path(), u"--scale"_qs, u"1"_qs, u"--sheet"_qs, sheet,
                                        u"--only"_qs, u"panels/choice-*"_qs});
    EXPECT_EQ(ended.exitCode, 0) << ended.errors;
    EXPECT_EQ(ended.output, sheet.toStdString() + "\n");
    const QImage image(sheet);
    ASSERT_FALSE(image.isNull());
    // Both pictures stand on it, one below the other, in sections of their own.
    const QSize one = withMargin(QSize(360, 210), 1);
    EXPECT_GT(image.width(), one.width());
    EXPECT_LT(image.width(), 2 * one.width());
    EXPECT_GT(image.height(), 2 * one.height());
}

TEST_F(OverlayGalleryTest, ListsEveryNameOnceAndDrawsNothing) {
    const Ended ended = overlayGallery({u"--list"_qs});
    EXPECT_EQ(ended.exitCode, 0) << ended.errors;
    const QStringList names = QString::fromStdString(ended.output).split(u'\n', Qt::SkipEmptyParts);
    EXPECT_EQ(QSet<QString>(names.begin(), names.end()).size(), names.size());
    for (const QString& style :
         {u"graphite"_qs, u"slate"_qs, u"blue"_qs, u"light"_qs, u"none"_qs}) {
        for (const QString& color : {u"white"_qs, u"black"_qs, u"mint"_qs, u"amber"_qs}) {
            for (const QString& size : {u"small"_qs, u"medium"_qs, u"large"_qs}) {
                for (const QString& desktop : {u"dark"_qs, u"light"_qs}) {
                    const QString name =
                        u"styles/text-%1-%2-%3-%4"_qs.arg(style, color, desktop, size);
                    EXPECT_TRUE(names.contains(name)) << name.toStdString();
                }
            }
        }
    }
    EXPECT_TRUE(names.contains(u"texts/error-300-characters"_qs));
    EXPECT_TRUE(names.contains(u"texts/leetcode-40000-characters"_qs));
}

TEST_F(OverlayGalleryTest, WrongArgumentsAreAUsageError) {
    const QString path = folder.path();
    const QList<QStringList> wrong{{},
                                   {QString()},
                                   {path, path},
                                   {path, u"--scale"_qs},
                                   {path, u"--scale"_qs, u"0"_qs},
                                   {path, u"--scale"_qs, u"-1"_qs},
                                   {path, u"--scale"_qs, u"nan"_qs},
                                   {path, u"--scale"_qs, u"inf"_qs},
                                   {path, u"--scale"_qs, u"5"_qs},
                                   {path, u"--scale"_qs, u"big"_qs},
                                   {path, u"--only"_qs, u"no-such-panel"_qs},
                                   {path, u"--only"_qs, u"["_qs},
                                   {path, u"--colour"_qs}};
    for (const QStringList& arguments : wrong) {
        const Ended ended = overlayGallery(arguments);
        EXPECT_EQ(ended.exitCode, 2) << arguments.join(u' ').toStdString();
        EXPECT_THAT(ended.errors, HasSubstr("overlay-gallery: "))
            << arguments.join(u' ').toStdString();
        EXPECT_THAT(ended.output, IsEmpty());
    }
    EXPECT_TRUE(QDir(path).isEmpty());
}

TEST_F(OverlayGalleryTest, AFolderThatCannotBeWrittenIsAFailure) {
    QFile file(folder.filePath(u"file"_qs));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    const Ended ended = overlayGallery(
        {file.fileName(), u"--scale"_qs, u"1"_qs, u"--only"_qs, u"panels/choice-dark"_qs});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.errors, HasSubstr("overlay-gallery: cannot write to"));
    const Ended sheetless = overlayGallery({folder.path(), u"--scale"_qs, u"1"_qs, u"--sheet"_qs,
                                            file.fileName() + u"/sheet.png"_qs, u"--only"_qs,
                                            u"panels/choice-dark"_qs});
    EXPECT_EQ(sheetless.exitCode, 1);
    EXPECT_THAT(sheetless.errors, HasSubstr("overlay-gallery: cannot write"));
    EXPECT_THAT(sheetless.errors, Not(HasSubstr("terminate")));
}

} // namespace lumivane
