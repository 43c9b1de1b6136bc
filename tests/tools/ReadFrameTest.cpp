#include <QFile>
#include <QFont>
#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace lumivane {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

struct Ended {
    int exitCode = -1;
    std::string output;
    std::string errors;
};

Ended readFrame(const QStringList& arguments, const QString& dataFolder = {}) {
    QProcess program;
    if (!dataFolder.isNull()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"TESSDATA_PREFIX"_qs, dataFolder);
        program.setProcessEnvironment(environment);
    }
    program.start(QStringLiteral(LUMIVANE_READ_FRAME), arguments);
    if (!program.waitForFinished(60000)) {
        program.kill();
        program.waitForFinished();
        ADD_FAILURE() << "read-frame did not end";
        return {};
    }
    return {program.exitCode(), program.readAllStandardOutput().toStdString(),
            program.readAllStandardError().toStdString()};
}

std::vector<std::string> keysOf(const nlohmann::ordered_json& object) {
    std::vector<std::string> keys;
    for (const auto& item : object.items()) {
        keys.push_back(item.key());
    }
    return keys;
}

} // namespace

class ReadFrameTest : public testing::Test {
protected:
    void SetUp() override {
        QImage image(1200, 600, QImage::Format_RGB32);
        image.fill(Qt::white);
        {
            QPainter painter(&image);
            QFont font(u"DejaVu Sans"_qs);
            font.setPixelSize(24);
            painter.setFont(font);
            painter.drawText(60, 120, u"The harbour office opens at seven."_qs);
            painter.drawText(60, 160, u"Nobody expected the archive."_qs);
        }
        ASSERT_TRUE(image.save(picture));
    }

    QTemporaryDir folder;
    const QString picture = folder.filePath(u"frame.png"_qs);
};

TEST_F(ReadFrameTest, PrintsTheTranscript) {
    const Ended ended = readFrame({picture});
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_EQ(ended.output, "The harbour office opens at seven.\nNobody expected the archive.\n");
}

TEST_F(ReadFrameTest, PrintsOneObjectWithKeysInOrder) {
    const Ended ended = readFrame({picture, u"--scale"_qs, u"1.5"_qs, u"--json"_qs});
    ASSERT_EQ(ended.exitCode, 0) << ended.errors;
    const auto json = nlohmann::ordered_json::parse(ended.output);
    EXPECT_THAT(keysOf(json),
                ElementsAre("text", "truncated", "charCount", "meanConfidence", "textCoverage",
                            "nonTextEnergy", "durationMS", "fragments"));
    EXPECT_EQ(json["text"], "The harbour office opens at seven.\nNobody expected the archive.");
    EXPECT_EQ(json["charCount"], 63);
    EXPECT_EQ(json["truncated"], false);
    EXPECT_GT(json["meanConfidence"].get<double>(), 0.8);
    EXPECT_GT(json["textCoverage"].get<double>(), 0);
    EXPECT_TRUE(json["durationMS"].is_number_integer());
    ASSERT_EQ(json["fragments"].size(), 2U);
    const auto& fragment = json["fragments"][0];
    EXPECT_THAT(keysOf(fragment), ElementsAre("text", "confidence", "box"));
    EXPECT_THAT(keysOf(fragment["box"]), ElementsAre("x", "y", "width", "height"));
    EXPECT_NEAR(fragment["box"]["x"].get<double>(), 60.0 / 1200, 0.005);
    EXPECT_NEAR(fragment["box"]["y"].get<double>(), 100.0 / 600, 0.02);
}

TEST_F(ReadFrameTest, WrongArgumentsAreAUsageError) {
    const QList<QStringList> wrong{{},
                                   {picture, picture},
                                   {picture, u"--scale"_qs},
                                   {picture, u"--scale"_qs, u"0"_qs},
                                   {picture, u"--scale"_qs, u"-2"_qs},
                                   {picture, u"--scale"_qs, u"nan"_qs},
                                   {picture, u"--scale"_qs, u"wide"_qs},
                                   {picture, u"--colour"_qs}};
    for (const QStringList& arguments : wrong) {
        const Ended ended = readFrame(arguments);
        EXPECT_EQ(ended.exitCode, 2) << arguments.join(u' ').toStdString();
        EXPECT_THAT(ended.errors, HasSubstr("read-frame: "));
        EXPECT_THAT(ended.output, IsEmpty());
    }
}

TEST_F(ReadFrameTest, PictureThatCannotBeReadIsAFailure) {
    const Ended missing = readFrame({folder.filePath(u"none.png"_qs)});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_THAT(missing.errors, HasSubstr("cannot read"));

    QFile file(folder.filePath(u"text.png"_qs));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("no picture");
    file.close();
    EXPECT_EQ(readFrame({file.fileName()}).exitCode, 1);
}

TEST_F(ReadFrameTest, MissingRecognitionDataIsAFailure) {
    const Ended ended = readFrame({picture}, folder.path());
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.errors, HasSubstr("cannot be recognised"));
    EXPECT_THAT(ended.output, IsEmpty());
}

} // namespace lumivane
