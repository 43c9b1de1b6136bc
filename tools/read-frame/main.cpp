#include "async/SystemClock.h"
#include "platform/linux/QtImageCodec.h"
#include "platform/linux/RecognitionLanguages.h"
#include "platform/linux/TesseractRecogniser.h"
#include "screen/ScreenImageReducer.h"
#include "screen/ScreenTextExtractor.h"
#include "support/ToolMain.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QImageReader>
#include <QLocale>
#include <QThreadPool>

#include <nlohmann/json.hpp>

#include <cstdio>
#include <optional>

namespace lumivane {

namespace {

using namespace tools;

enum class OutputForm { transcript, json };

struct Options {
    QString imagePath;
    double pointPixelScale = 1;
    OutputForm form = OutputForm::transcript;
};

void describe(QCommandLineParser& parser) {
    parser.setApplicationDescription(u"Prints what the program reads on a picture of a screen."_qs);
    parser.addPositionalArgument(u"IMAGE"_qs, u"The picture file."_qs);
    addScaleOption(parser);
    parser.addOption({u"json"_qs, u"Print one JSON object with signals and fragments."_qs});
}

/// Throws the words that say what is wrong.
Options optionsFrom(const QCommandLineParser& parser) {
    if (parser.positionalArguments().size() != 1) {
        throw u"one IMAGE is needed; see --help"_qs;
    }
    Options options;
    options.imagePath = parser.positionalArguments().constFirst();
    options.form = parser.isSet(u"json"_qs) ? OutputForm::json : OutputForm::transcript;
    options.pointPixelScale = scaleFrom(parser);
    return options;
}

nlohmann::ordered_json jsonOf(const ScreenReading& reading) {
    const ScreenText& text = reading.text;
    nlohmann::ordered_json json{
        {"text", text.text.toStdString()},     {"truncated", text.truncated},
        {"charCount", text.charCount()},       {"meanConfidence", text.meanConfidence()},
        {"textCoverage", text.textCoverage()}, {"nonTextEnergy", text.nonTextEnergy()},
        {"durationMS", text.durationMS},       {"fragments", nlohmann::ordered_json::array()}};
    for (const TextFragment& fragment : reading.fragments) {
        const Rect& box = fragment.box;
        json["fragments"].push_back(
            {{"text", fragment.text.toStdString()},
             {"confidence", fragment.confidence},
             {"box", {{"x", box.x}, {"y", box.y}, {"width", box.width}, {"height", box.height}}}});
    }
    return json;
}

ScreenReading readFrame(const QImage& image, double pointPixelScale) {
    const QString dataFolder = RecognitionLanguages::dataFolder();
    TesseractRecogniser recogniser(
        dataFolder, RecognitionLanguages::fitting(dataFolder, QLocale::system().uiLanguages()));
    const QtImageCodec codec;
    const SystemClock clock;
    QThreadPool& pool = *QThreadPool::globalInstance();
    const ScreenImageReducer reducer(codec, pool);
    return ScreenTextExtractor(recogniser, reducer, pool, clock)
        .read(image, pointPixelScale, std::stop_token());
}

int run(const Options& options) {
    QImageReader reader(options.imagePath);
    const QImage image = reader.read();
    if (image.isNull()) {
        return fail(failure, u"cannot read %1: %2"_qs.arg(options.imagePath, reader.errorString()));
    }
    try {
        const ScreenReading reading = readFrame(image, options.pointPixelScale);
        const std::string output = options.form == OutputForm::json
                                       ? jsonOf(reading).dump(2)
                                       : reading.text.text.toStdString();
        const bool isWritten = std::printf("%s\n", output.c_str()) >= 0 && std::fflush(stdout) == 0;
        return isWritten ? success : fail(failure, u"cannot write the output"_qs);
    } catch (const std::exception&) {
        return fail(failure, u"the text of %1 cannot be recognised; is the English data of "
                             "Tesseract in %2?"_qs.arg(options.imagePath,
                                                       RecognitionLanguages::dataFolder()));
    }
}

} // namespace

} // namespace lumivane

int main(int argc, char** argv) {
    using namespace lumivane;
    return tools::toolMain(argc, argv, u"read-frame"_qs, describe, optionsFrom, run);
}
