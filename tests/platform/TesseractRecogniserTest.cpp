#include "platform/linux/TesseractRecogniser.h"

#include "async/Cancelled.h"
#include "async/SystemClock.h"
#include "platform/linux/RecognitionLanguages.h"
#include "platform/linux/TesseractEngine.h"

#include <QFile>
#include <QFont>
#include <QFontMetrics>
#include <QPainter>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <memory>
#include <thread>

namespace lumivane {

using testing::Contains;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// Lines of text on a page, each at its own place.
struct PaintedText {
    QPoint baseline;
    QString text;
    int pixelSize = 22;
};

QImage paint(const std::vector<PaintedText>& texts, QColor ground = Qt::white,
             QColor ink = Qt::black, QSize size = {1200, 600}) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(ground);
    QPainter painter(&image);
    painter.setPen(ink);
    for (const PaintedText& text : texts) {
        QFont font(u"DejaVu Sans"_qs);
        font.setPixelSize(text.pixelSize);
        painter.setFont(font);
        painter.drawText(text.baseline, text.text);
    }
    return image;
}

std::vector<QString> textsOf(const std::vector<RecognisedRun>& runs) {
    std::vector<QString> texts;
    for (const RecognisedRun& run : runs) {
        texts.push_back(run.text.value_or(QString()));
    }
    return texts;
}

/// A page that takes a second and more to read.
QImage fullPage() {
    std::vector<PaintedText> lines;
    for (int line = 0; line < 60; ++line) {
        lines.push_back({{30, 40 + line * 28},
                         u"Line %1 of a page that is full of words from its one edge to the other "
                         "and takes its time to be read by anybody at all."_qs.arg(line)});
    }
    return paint(lines, Qt::white, Qt::black, {1700, 1750});
}

} // namespace

class TesseractRecogniserTest : public testing::Test {
protected:
    /// One for all tests: loading it is the slow part.
    static void SetUpTestSuite() {
        s_recogniser = std::make_unique<TesseractRecogniser>(RecognitionLanguages::dataFolder(),
                                                             QStringList{u"eng"_qs});
        s_recogniser->prepare();
    }

    static void TearDownTestSuite() { s_recogniser.reset(); }

    /// How long this machine takes for it, with all else that it has to do.
    static std::chrono::nanoseconds durationOf(const QImage& page) {
        const SystemClock clock;
        const MonotonicInstant begin = clock.now();
        recognise(page);
        return clock.now() - begin;
    }

    static std::vector<RecognisedRun> recognise(const QImage& image) {
        return s_recogniser->recognise(image, {});
    }

    static std::unique_ptr<TesseractRecogniser> s_recogniser;
};

std::unique_ptr<TesseractRecogniser> TesseractRecogniserTest::s_recogniser;

TEST_F(TesseractRecogniserTest, ReadsDarkTextOnALightGround) {
    const auto runs = recognise(paint({{{40, 100}, u"The harbour office opens at seven."_qs},
                                       {{40, 160}, u"Please send the corrected figures."_qs}}));
    EXPECT_EQ(textsOf(runs), (std::vector{u"The harbour office opens at seven."_qs,
                                          u"Please send the corrected figures."_qs}));
    EXPECT_GT(runs[0].confidence, 0.8F);
    EXPECT_LE(runs[0].confidence, 1.0F);
}

TEST_F(TesseractRecogniserTest, ReadsLightTextOnADarkGround) {
    const auto runs = recognise(paint({{{40, 100}, u"The harbour office opens at seven."_qs}},
                                      QColor(30, 30, 30), QColor(212, 212, 212)));
    EXPECT_EQ(textsOf(runs), std::vector{u"The harbour office opens at seven."_qs});
}

TEST_F(TesseractRecogniserTest, ReadsADarkPanelOnALightPage) {
    QImage image = paint({{{40, 100}, u"The harbour office opens at seven."_qs}});
    const QImage panel = paint({{{40, 60}, u"Please send the corrected figures."_qs},
                                {{40, 120}, u"Nobody expected the archive."_qs}},
                               QColor(30, 30, 30), Qt::white, {700, 200});
    QPainter(&image).drawImage(200, 300, panel);
    const auto texts = textsOf(recognise(image));
    EXPECT_THAT(texts, Contains(u"The harbour office opens at seven."_qs));
    EXPECT_THAT(texts, Contains(u"Please send the corrected figures."_qs));
    EXPECT_THAT(texts, Contains(u"Nobody expected the archive."_qs));
}

TEST_F(TesseractRecogniserTest, ReadsImagesOfAnyFormatAndStride) {
    const QImage painted = paint({{{41, 100}, u"Nobody expected the archive."_qs}});
    const std::vector expected{u"Nobody expected the archive."_qs};
    for (const QImage::Format format :
         {QImage::Format_ARGB32_Premultiplied, QImage::Format_RGB888, QImage::Format_Grayscale8,
          QImage::Format_Indexed8, QImage::Format_RGB16}) {
        EXPECT_EQ(textsOf(recognise(painted.convertToFormat(format))), expected) << format;
    }
    EXPECT_EQ(textsOf(recognise(painted.copy(3, 0, 1111, 300))), expected);
}

TEST_F(TesseractRecogniserTest, TwoColumnsAreSeparateRuns) {
    std::vector<PaintedText> texts;
    for (int line = 0; line < 8; ++line) {
        texts.push_back({{40, 80 + line * 34}, u"left column line"_qs});
        texts.push_back({{640, 80 + line * 34}, u"right column line"_qs});
    }
    for (const RecognisedRun& run : recognise(paint(texts))) {
        const bool isLeft = run.box.midX() < 0.5;
        EXPECT_EQ(*run.text, isLeft ? u"left column line"_qs : u"right column line"_qs);
        EXPECT_TRUE(isLeft ? run.box.maxX() < 0.5 : run.box.minX() > 0.5);
    }
}

TEST_F(TesseractRecogniserTest, CellsOfATableAreCut) {
    const auto texts = textsOf(recognise(paint({{{40, 100}, u"Mill pond"_qs},
                                                {{260, 100}, u"Upper valley"_qs},
                                                {{480, 100}, u"Normal"_qs},
                                                {{40, 150}, u"Pilot house"_qs},
                                                {{260, 150}, u"Harbour"_qs},
                                                {{480, 150}, u"Warning"_qs}})));
    EXPECT_THAT(texts,
                testing::UnorderedElementsAre(u"Mill pond"_qs, u"Upper valley"_qs, u"Normal"_qs,
                                              u"Pilot house"_qs, u"Harbour"_qs, u"Warning"_qs));
}

TEST_F(TesseractRecogniserTest, BoxesLieWhereTheInkIs) {
    const auto runs = recognise(paint({{{300, 400}, u"Harbour"_qs, 40}}));
    ASSERT_THAT(runs, SizeIs(1));
    QFont font(u"DejaVu Sans"_qs);
    font.setPixelSize(40);
    const QRect ink = QFontMetrics(font).tightBoundingRect(u"Harbour"_qs).translated(300, 400);
    const double pixel = 3; // antialiasing and rounding
    EXPECT_NEAR(runs[0].box.minX() * 1200, ink.left(), pixel);
    EXPECT_NEAR(runs[0].box.maxX() * 1200, ink.left() + ink.width(), pixel);
    EXPECT_NEAR((1 - runs[0].box.maxY()) * 600, ink.top(), pixel);
    EXPECT_NEAR((1 - runs[0].box.minY()) * 600, ink.top() + ink.height(), pixel);
}

TEST_F(TesseractRecogniserTest, SmallTypeIsReadAsItStands) {
    const auto runs = recognise(paint({{{40, 100}, u"Keep the receipt for the archive."_qs, 13}}));
    EXPECT_EQ(textsOf(runs), std::vector{u"Keep the receipt for the archive."_qs});
}

TEST_F(TesseractRecogniserTest, PagesWithoutTextGiveNoRuns) {
    EXPECT_THAT(recognise(paint({})), IsEmpty());
    EXPECT_THAT(recognise(paint({}, Qt::black)), IsEmpty());
    EXPECT_THAT(recognise(paint({}, Qt::white, Qt::black, {8000, 200})), IsEmpty());
    EXPECT_THAT(recognise(paint({}, Qt::white, Qt::black, {1, 1})), IsEmpty());
    EXPECT_THAT(recognise(paint({}, Qt::white, Qt::black, {5, 4000})), IsEmpty());
}

TEST_F(TesseractRecogniserTest, VeryWideImageIsRead) {
    const auto runs = recognise(
        paint({{{7000, 100}, u"Far to the right"_qs, 30}}, Qt::white, Qt::black, {8000, 200}));
    ASSERT_THAT(runs, SizeIs(1));
    EXPECT_EQ(runs[0].text, u"Far to the right"_qs);
    EXPECT_NEAR(runs[0].box.minX(), 7000 / 8000.0, 0.001);
}

TEST_F(TesseractRecogniserTest, ImagesThatCannotBeReadAreAnError) {
    EXPECT_THROW(recognise(QImage()), TextRecogniserError);
    EXPECT_THROW(recognise(QImage(40000, 8, QImage::Format_Grayscale8)), TextRecogniserError);
}

TEST_F(TesseractRecogniserTest, StoppedBeforehandThrowsCancelled) {
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(s_recogniser->recognise(fullPage(), stop.get_token()), Cancelled);
}

TEST_F(TesseractRecogniserTest, StoppedInTheMiddleReturnsLongBeforeThePageIsRead) {
    const SystemClock clock;
    const QImage page = fullPage();
    const auto whole = durationOf(page);
    std::stop_source stop;
    std::atomic<bool> isCancelled = false;
    std::jthread reader([&] {
        try {
            s_recogniser->recognise(page, stop.get_token());
        } catch (const Cancelled&) {
            isCancelled = true;
        }
    });
    // Pages are taken in order, so once this one is read the first is under way.
    EXPECT_THAT(recognise(paint({{{40, 100}, u"Harbour"_qs}})), SizeIs(1));
    const MonotonicInstant stopped = clock.now();
    stop.request_stop();
    reader.join();
    const auto untilReturned = clock.now() - stopped;
    EXPECT_TRUE(isCancelled);
    // The caller's wait ends with the stop and not with the work.
    EXPECT_TRUE(untilReturned < whole / 2 || untilReturned < durationOf(page) / 2);
}

TEST_F(TesseractRecogniserTest, WorkersOfAStoppedPageAreFreeAgainLongBeforeItIsRead) {
    const SystemClock clock;
    const QImage page = fullPage();
    const auto whole = durationOf(page);

    std::stop_source stop;
    std::jthread reader(
        [&] { EXPECT_THROW(s_recogniser->recognise(page, stop.get_token()), Cancelled); });
    EXPECT_THAT(recognise(paint({{{40, 100}, u"Harbour"_qs}})), SizeIs(1));
    stop.request_stop();
    reader.join();
    const MonotonicInstant stopped = clock.now();
    EXPECT_EQ(textsOf(recognise(paint({{{40, 100}, u"Harbour"_qs}}))), std::vector{u"Harbour"_qs});
    const auto untilFree = clock.now() - stopped;
    EXPECT_TRUE(untilFree < whole / 2 || untilFree < durationOf(page) / 2);
}

TEST_F(TesseractRecogniserTest, PagesReadAtTheSameTimeKeepApart) {
    std::vector<std::jthread> readers;
    std::array<std::vector<QString>, 4> texts;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        readers.emplace_back([&texts, i] {
            const QString text = u"Report number %1 of the day"_qs.arg(i + 21);
            texts[i] = textsOf(recognise(paint({{{40, 100}, text}})));
        });
    }
    readers.clear();
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(texts[i], std::vector{u"Report number %1 of the day"_qs.arg(i + 21)});
    }
}

TEST_F(TesseractRecogniserTest, TheSamePageGivesTheSameRunsEveryTime) {
    const QImage page = paint({{{40, 100}, u"Mill pond"_qs}, {{40, 150}, u"Upper valley"_qs}});
    const auto first = recognise(page);
    recognise(fullPage());
    const auto second = recognise(page);
    ASSERT_EQ(textsOf(second), textsOf(first));
    EXPECT_EQ(second[0].box, first[0].box);
    EXPECT_EQ(second[0].confidence, first[0].confidence);
}

TEST(TesseractRecogniserData, MissingDataIsAnErrorAndNoCrash) {
    const QTemporaryDir empty;
    const QImage page = paint({{{40, 100}, u"Harbour"_qs}});
    TesseractRecogniser withoutData(empty.path(), {u"eng"_qs});
    withoutData.prepare();
    EXPECT_THROW(withoutData.recognise(page, {}), TextRecogniserError);
    EXPECT_THROW(withoutData.recognise(page, {}), TextRecogniserError);
    TesseractRecogniser withoutFolder(empty.filePath(u"none"_qs), {u"eng"_qs});
    EXPECT_THROW(withoutFolder.recognise(page, {}), TextRecogniserError);
    TesseractRecogniser withoutLanguages(RecognitionLanguages::dataFolder(), {});
    EXPECT_THROW(withoutLanguages.recognise(page, {}), TextRecogniserError);
}

TEST(TesseractRecogniserData, BrokenDataIsAnErrorAndNoCrash) {
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"eng.traineddata"_qs));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(4096, 'x'));
    file.close();
    TesseractRecogniser recogniser(folder.path(), {u"eng"_qs});
    EXPECT_THROW(recogniser.recognise(paint({}), {}), TextRecogniserError);
}

TEST(TesseractRecogniserData, OneWorkerReadsAPageAlone) {
    TesseractRecogniser alone(RecognitionLanguages::dataFolder(), {u"eng"_qs}, 1);
    EXPECT_EQ(textsOf(alone.recognise(paint({{{40, 100}, u"Harbour"_qs}}), {})),
              std::vector{u"Harbour"_qs});
}

TEST(TesseractEngineTest, SegmentsWithoutInkAreNoFailure) {
    TesseractEngine engine(RecognitionLanguages::dataFolder(), {u"eng"_qs});
    const PageImage page(paint({{{40, 100}, u"Harbour"_qs}}));
    for (const QRect& area :
         {QRect(200, 300, 400, 30), QRect(200, 300, 1, 1), QRect(200, 300, 2, 40),
          QRect(1190, 590, 40, 40), QRect(0, 0, 5, 1), QRect(5000, 5000, 9, 9)}) {
        EXPECT_THAT(engine.read(page, {area, area}, {}), IsEmpty()) << area.width();
    }
    const QRect word(30, 70, 130, 45);
    EXPECT_THAT(engine.read(page, {word, word}, {}), SizeIs(1));
}

} // namespace lumivane
