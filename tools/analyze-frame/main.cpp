#include "async/SystemClock.h"
#include "async/TaskHandle.h"
#include "domain/AppSettings.h"
#include "domain/LumivaneError.h"
#include "platform/linux/QtHttpTransport.h"
#include "platform/linux/QtImageCodec.h"
#include "platform/linux/RecognitionLanguages.h"
#include "platform/linux/TesseractRecogniser.h"
#include "records/AnalysisInputMode.h"
#include "screen/ScreenImagePolicy.h"
#include "screen/ScreenImageReducer.h"
#include "screen/ScreenTextExtractor.h"
#include "service/AnalysisClient.h"
#include "support/ToolMain.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QImageReader>
#include <QLocale>
#include <QThreadPool>

#include <cstdio>
#include <optional>

namespace lumivane {

namespace {

using namespace tools;

struct Options {
    QString imagePath;
    QString baseURL;
    SecretText token;
    double pointPixelScale = 1;
    AppSettings settings;
};

void describe(QCommandLineParser& parser) {
    parser.setApplicationDescription(
        u"Reads and reduces a picture of a screen as the program does, sends what the program "
        u"would send, and prints the answer."_qs);
    parser.addPositionalArgument(u"IMAGE"_qs, u"The picture file."_qs);
    parser.addOption({u"base-url"_qs, u"Where the service is."_qs, u"URL"_qs});
    parser.addOption({u"token-file"_qs, u"A file with the access token."_qs, u"FILE"_qs});
    parser.addOption(
        {u"preset"_qs, u"mcq, summary, custom or leetcode; summary if not given."_qs, u"P"_qs});
    parser.addOption({u"prompt"_qs, u"The prompt of the custom preset."_qs, u"TEXT"_qs});
    parser.addOption(
        {u"mode"_qs, u"hyperPrivate or hyperAccurate; hyperPrivate if not given."_qs, u"M"_qs});
    addScaleOption(parser);
}

template <ClosedSet Case>
void readCase(const QCommandLineParser& parser, const QString& name, Case& value) {
    if (!parser.isSet(name)) {
        return;
    }
    const auto known = fromRawValue<Case>(parser.value(name));
    if (!known) {
        throw u"--%1 does not know %2; see --help"_qs.arg(name, parser.value(name));
    }
    value = *known;
}

SecretText readToken(const QString& path) {
    constexpr qint64 longestToken = 4096;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw u"the token file cannot be read"_qs;
    }
    SecretText token(file.read(longestToken).trimmed());
    if (token.isEmpty()) {
        throw u"the token file is empty"_qs;
    }
    return token;
}

/// Throws the words that say what is wrong.
Options optionsFrom(const QCommandLineParser& parser) {
    if (parser.positionalArguments().size() != 1) {
        throw u"one IMAGE is needed; see --help"_qs;
    }
    if (!parser.isSet(u"base-url"_qs) || !parser.isSet(u"token-file"_qs)) {
        throw u"--base-url and --token-file are needed; see --help"_qs;
    }
    Options options;
    options.imagePath = parser.positionalArguments().constFirst();
    options.baseURL = parser.value(u"base-url"_qs);
    options.token = readToken(parser.value(u"token-file"_qs));
    options.pointPixelScale = scaleFrom(parser);
    readCase(parser, u"preset"_qs, options.settings.preset);
    readCase(parser, u"mode"_qs, options.settings.analysisMode);
    if (parser.isSet(u"prompt"_qs)) {
        options.settings.customPrompt = parser.value(u"prompt"_qs);
    }
    return options;
}

ScreenText readText(const QImage& image, double pointPixelScale, const ScreenImageReducer& reducer,
                    const Clock& clock) {
    const QString dataFolder = RecognitionLanguages::dataFolder();
    TesseractRecogniser recogniser(
        dataFolder, RecognitionLanguages::fitting(dataFolder, QLocale::system().uiLanguages()));
    return ScreenTextExtractor(recogniser, reducer, *QThreadPool::globalInstance(), clock)
        .read(image, pointPixelScale, std::stop_token())
        .text;
}

/// The text of a frame where the settings want one; none where it cannot be read.
std::optional<ScreenText> textOf(const QImage& image, const Options& options,
                                 const ScreenImageReducer& reducer, const Clock& clock) {
    if (options.settings.preset != Preset::leetCode &&
        options.settings.analysisMode != AnalysisMode::hyperPrivate) {
        return std::nullopt;
    }
    try {
        return readText(image, options.pointPixelScale, reducer, clock);
    } catch (const std::exception&) {
        fail(failure, u"the text cannot be read; going on with the image only"_qs);
        return std::nullopt;
    }
}

AnalysisInputMode inputModeFor(const AppSettings& settings, const std::optional<ScreenText>& text) {
    if (settings.preset != Preset::leetCode) {
        return resolveInputMode(settings.analysisMode,
                                text ? std::optional(text->signals) : std::nullopt);
    }
    if (!text || text->text.trimmed().isEmpty()) {
        throw LumivaneError(LumivaneError::Case::leetCodeTextUnavailable);
    }
    return AnalysisInputMode::textAndImage;
}

/// What the program would send of this frame. Throws LumivaneError.
AnalysisPayload payloadOf(const QImage& image, const Options& options, const Clock& clock) {
    const AppSettings& settings = options.settings;
    const QtImageCodec codec;
    const ScreenImageReducer reducer(codec, *QThreadPool::globalInstance());
    const std::optional<ScreenText> text = textOf(image, options, reducer, clock);
    // The program encodes beside the reading, so whether the image is sent or not.
    const auto mode =
        settings.preset == Preset::leetCode ? AnalysisMode::hyperAccurate : settings.analysisMode;
    const MonotonicInstant begin = clock.now();
    const QImage reduced = reducer.scaled(image, ScreenImagePolicy::jpegLongEdge(mode));
    const QByteArray jpeg = reducer.encodeJPEG(reduced, ScreenImagePolicy::jpegQuality);
    AnalysisTimings timings;
    timings.encodeMS = AnalysisTimings::milliseconds(clock.now() - begin);
    timings.ocrMS = text ? text->durationMS : 0;
    const AnalysisInputMode inputMode = inputModeFor(settings, text);
    AnalysisPayload payload;
    if (sendsText(inputMode)) {
        payload.screenText = text->text;
    }
    if (sendsImage(inputMode)) {
        payload.jpeg = jpeg;
        timings.imagePixelWidth = reduced.width();
        timings.imagePixelHeight = reduced.height();
    }
    payload.timings = timings;
    return payload;
}

QCoro::Task<void> ask(AnalysisServing* client, AnalysisPayload payload, Options options,
                      std::stop_token stop) {
    int code = failure;
    try {
        const AnalyzeResponse answer =
            co_await client->analyze(payload, options.settings, options.token, stop);
        std::printf("%s\n", qUtf8Printable(answer.result));
        code = success;
    } catch (const std::exception& error) {
        fail(failure, LumivaneError::sanitize(localizedDescription(error)));
    }
    QCoreApplication::exit(code);
}

int run(const Options& options) {
    QImageReader reader(options.imagePath);
    const QImage image = reader.read();
    if (image.isNull()) {
        return fail(failure, u"cannot read %1: %2"_qs.arg(options.imagePath, reader.errorString()));
    }
    SystemClock clock;
    QtHttpTransport transport(clock);
    AnalysisClient client(options.baseURL, ApplicationInformation(), transport);
    try {
        const AnalysisPayload payload = payloadOf(image, options, clock);
        const auto task = TaskHandle::start([&client, payload, options](std::stop_token stop) {
            return ask(&client, payload, options, std::move(stop));
        });
        return QCoreApplication::exec();
    } catch (const std::exception& error) {
        return fail(failure, LumivaneError::sanitize(localizedDescription(error)));
    }
}

} // namespace

} // namespace lumivane

int main(int argc, char** argv) {
    using namespace lumivane;
    return tools::toolMain(argc, argv, u"analyze-frame"_qs, describe, optionsFrom, run);
}
