#include "domain/StrictJson.h"
#include "support/EventLoop.h"
#include "support/ScriptedHttpServer.h"

#include <QFile>
#include <QFont>
#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace lumivane::test {

class AnalyzeFrameTest : public testing::Test {
protected:
    AnalyzeFrameTest() {
        QImage image(1400, 600, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        QFont font(u"DejaVu Sans"_qs);
        font.setPixelSize(24);
        painter.setFont(font);
        painter.drawText(60, 120, u"The harbour office opens at seven in the morning."_qs);
        painter.end();
        image.save(picture);
        QFile token(tokenFile);
        if (token.open(QIODevice::WriteOnly)) {
            token.write("abc.def\n");
        }
    }

    ~AnalyzeFrameTest() override {
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished();
        }
    }

    /// Runs the tool to its end with the service answering; its exit code.
    int analyze(const QStringList& more) {
        const QStringList arguments{picture, u"--base-url"_qs, service.baseURL(),
                                    u"--token-file"_qs, tokenFile};
        return run(arguments + more);
    }

    int run(const QStringList& arguments) {
        process.start(QStringLiteral(LUMIVANE_ANALYZE_FRAME), arguments);
        const bool hasEnded = waitUntil([this] { return process.state() == QProcess::NotRunning; },
                                        std::chrono::seconds(60));
        return hasEnded ? process.exitCode() : -1;
    }

    /// Leaves the tool without the data that reading takes.
    void hideRecognitionData() {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"TESSDATA_PREFIX"_qs, noData.path());
        process.setProcessEnvironment(environment);
    }

    QTemporaryDir folder;
    QTemporaryDir noData;
    const QString picture = folder.filePath(u"frame.png"_qs);
    const QString tokenFile = folder.filePath(u"token"_qs);
    ScriptedHttpServer service;
    QProcess process;
};

TEST_F(AnalyzeFrameTest, SendsTheWordsAndPrintsTheAnswer) {
    service.always("/v1/analyze",
                   ScriptedAnswer::json(
                       200, R"({"request_id":"r","result":"At seven.","result_kind":"text"})"));
    EXPECT_EQ(analyze({}), 0);
    EXPECT_EQ(process.readAllStandardOutput(), "At seven.\n");
    ASSERT_EQ(service.requests().size(), 1U);
    EXPECT_EQ(service.requests()[0].header("Authorization"), "Bearer abc.def");
    const Json body = parseJson(service.requests()[0].body);
    EXPECT_EQ(body["screen_text"], "The harbour office opens at seven in the morning.");
    EXPECT_FALSE(body.contains("image_data_url"));
    EXPECT_EQ(body["preset"], "summary");
}

TEST_F(AnalyzeFrameTest, SendsTheImageInTheAccurateMode) {
    service.always(
        "/v1/analyze",
        ScriptedAnswer::json(200, R"({"request_id":"r","result":"B","result_kind":"choice"})"));
    EXPECT_EQ(analyze({u"--mode"_qs, u"hyperAccurate"_qs, u"--preset"_qs, u"mcq"_qs}), 0);
    const Json body = parseJson(service.requests().at(0).body);
    EXPECT_FALSE(body.contains("screen_text"));
    EXPECT_EQ(body["client_metrics"]["image_pixel_width"], 1024);
    EXPECT_EQ(body["preset"], "mcq");
}

TEST_F(AnalyzeFrameTest, TextThatCannotBeReadLeavesTheImage) {
    service.always(
        "/v1/analyze",
        ScriptedAnswer::json(200, R"({"request_id":"r","result":"Noted.","result_kind":"text"})"));
    hideRecognitionData();
    EXPECT_EQ(analyze({}), 0);
    EXPECT_EQ(process.readAllStandardOutput(), "Noted.\n");
    ASSERT_EQ(service.requests().size(), 1U);
    const Json body = parseJson(service.requests()[0].body);
    EXPECT_FALSE(body.contains("screen_text"));
    EXPECT_TRUE(body.contains("image_data_url"));
    EXPECT_EQ(body["client_metrics"]["ocr_ms"], 0);
    EXPECT_GT(body["client_metrics"]["encode_ms"], 0);
    EXPECT_GT(body["client_metrics"]["image_pixel_width"], 0);
}

TEST_F(AnalyzeFrameTest, LeetCodeWithoutReadableTextSendsNothing) {
    hideRecognitionData();
    EXPECT_EQ(analyze({u"--preset"_qs, u"leetcode"_qs}), 1);
    const QByteArray words = process.readAllStandardError();
    EXPECT_TRUE(words.contains("analyze-frame: Lumivane could not read any text on that screen."))
        << words.constData();
    EXPECT_TRUE(service.requests().empty());
}

TEST_F(AnalyzeFrameTest, ARefusalIsAFailureInWords) {
    service.always("/v1/analyze", ScriptedAnswer::json(401, "{}"));
    EXPECT_EQ(analyze({}), 1);
    EXPECT_EQ(process.readAllStandardError().split('\n').first(),
              "analyze-frame: Log in to Lumivane to continue.");
}

TEST_F(AnalyzeFrameTest, WrongUseIsToldApart) {
    EXPECT_EQ(run({}), 2);
    EXPECT_EQ(run({picture}), 2);
    EXPECT_EQ(analyze({u"--preset"_qs, u"essay"_qs}), 2);
    EXPECT_EQ(analyze({u"--scale"_qs, u"0"_qs}), 2);
    EXPECT_EQ(analyze({u"--unknown"_qs}), 2);
    EXPECT_EQ(run({folder.filePath(u"none.png"_qs), u"--base-url"_qs, service.baseURL(),
                   u"--token-file"_qs, tokenFile}),
              1);
    EXPECT_TRUE(service.requests().empty());
}

} // namespace lumivane::test
