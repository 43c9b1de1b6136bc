// Recognition against the tesseract program on the same reduced bitmaps: time and errors.

#include "CharacterErrors.h"
#include "async/SystemClock.h"
#include "frames/SampleFrames.h"
#include "platform/linux/QtImageCodec.h"
#include "platform/linux/RecognitionLanguages.h"
#include "platform/linux/TesseractRecogniser.h"
#include "screen/ScreenImagePolicy.h"
#include "screen/ScreenImageReducer.h"

#include <QCommandLineParser>
#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QThreadPool>

#include <algorithm>
#include <cstdio>
#include <limits>

namespace lumivane::bench {

namespace {

constexpr double lightBar = 0.60;
constexpr double darkBar = 0.40;

struct Options {
    QString only; ///< part of a frame's name; empty for all
    int repetitions = 3;
};

struct Side {
    double milliseconds = std::numeric_limits<double>::infinity();
    QString text;
};

template <typename Work>
double millisecondsOf(const Clock& clock, Work work) {
    const MonotonicInstant begin = clock.now();
    work();
    return std::chrono::duration<double, std::milli>(clock.now() - begin).count();
}

QString readByPeer(const QString& picture) {
    QProcess peer;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"OMP_THREAD_LIMIT"_qs, u"1"_qs);
    peer.setProcessEnvironment(environment);
    peer.start(u"tesseract"_qs, {picture, u"stdout"_qs, u"--tessdata-dir"_qs,
                                 RecognitionLanguages::dataFolder(), u"-l"_qs, u"eng"_qs});
    if (!peer.waitForFinished(120000) || peer.exitCode() != 0) {
        std::fprintf(stderr, "the tesseract program failed: %s\n",
                     qUtf8Printable(peer.errorString()));
        std::exit(1);
    }
    return QString::fromUtf8(peer.readAllStandardOutput());
}

QString readByUs(TesseractRecogniser& recogniser, const QImage& image) {
    QStringList texts;
    for (const RecognisedRun& run : recogniser.recognise(image, {})) {
        texts.append(run.text.value_or(QString()));
    }
    return texts.join(u'\n');
}

/// Turn by turn, so that a busy machine is as hard on one as on the other; the best counts.
void measure(const Options& options, const QImage& bitmap, const QString& picture,
             TesseractRecogniser& recogniser, Side& ours, Side& peers) {
    const SystemClock clock;
    for (int i = 0; i < options.repetitions; ++i) {
        ours.milliseconds =
            std::min(ours.milliseconds,
                     millisecondsOf(clock, [&] { ours.text = readByUs(recogniser, bitmap); }));
        peers.milliseconds = std::min(
            peers.milliseconds, millisecondsOf(clock, [&] { peers.text = readByPeer(picture); }));
    }
}

bool report(const SampleFrame& frame, FrameTheme theme, const Side& ours, const Side& peers) {
    const bool isDark = theme == FrameTheme::dark;
    const double ratio = ours.milliseconds / peers.milliseconds;
    const double bar = isDark ? darkBar : lightBar;
    const double ourErrors = characterErrorRate(frame.knownText, ours.text);
    const double peerErrors = characterErrorRate(frame.knownText, peers.text);
    // Where the peer makes no error there is nothing to do better.
    const bool isAccurate =
        isDark && peerErrors > 0 ? ourErrors < peerErrors : ourErrors <= peerErrors;
    const bool isMet = ratio <= bar && isAccurate;
    std::printf("%-24s %8.0f %8.0f %7.2f %6.2f %9.4f %9.4f  %s\n", qUtf8Printable(frame.name),
                ours.milliseconds, peers.milliseconds, ratio, bar, ourErrors, peerErrors,
                isMet ? "met" : (ratio <= bar ? "MISSED (errors)" : "MISSED (time)"));
    std::fflush(stdout);
    return isMet;
}

void printHeading() {
    std::printf(
        "Best of the repetitions, turn by turn. ours: a warm recogniser, from the bitmap in memory "
        "to runs.\npeer: the tesseract program from start to end on the same bitmap as PNG, "
        "OMP_THREAD_LIMIT=1.\nCER: each painted line is looked for in what was read, in any order, "
        "as the stretch with the least\nLevenshtein distance; white space counts as one blank; "
        "what no line claims counts as inserted.\nbar: ratio of at most %.2f on light frames, "
        "%.2f on dark ones; CER no worse, and better on dark\nframes that the peer does not read "
        "without error.\n\n%-24s %8s %8s %7s %6s %9s %9s\n",
        lightBar, darkBar, "frame", "ours ms", "peer ms", "ratio", "bar", "our CER", "peer CER");
}

int run(const Options& options) {
    const QTemporaryDir folder;
    const QtImageCodec codec;
    const ScreenImageReducer reducer(codec, *QThreadPool::globalInstance());
    TesseractRecogniser recogniser(RecognitionLanguages::dataFolder(), {u"eng"_qs});
    recogniser.prepare();
    printHeading();
    bool isMet = true;
    for (const FrameKind kind : allFrameKinds) {
        for (const FrameTheme theme : {FrameTheme::light, FrameTheme::dark}) {
            for (const int scale : {1, 2}) {
                const SampleFrame frame = paintSampleFrame(kind, theme, scale);
                if (!frame.name.contains(options.only)) {
                    continue;
                }
                const int longEdge = ScreenImagePolicy::ocrLongEdge(frame.image.width(), scale);
                const QImage bitmap = reducer.scaled(frame.image, longEdge);
                const QString picture = folder.filePath(frame.name + u".png"_qs);
                if (!bitmap.save(picture)) {
                    std::fprintf(stderr, "cannot write %s\n", qUtf8Printable(picture));
                    return 1;
                }
                Side ours;
                Side peers;
                measure(options, bitmap, picture, recogniser, ours, peers);
                isMet = report(frame, theme, ours, peers) && isMet;
            }
        }
    }
    std::printf("\n%s\n", isMet ? "All bars met." : "Some bars MISSED.");
    return isMet ? 0 : 1;
}

} // namespace

} // namespace lumivane::bench

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QGuiApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addOption(
        {u"only"_qs, u"Only frames whose name holds TEXT, as in dark-2x."_qs, u"TEXT"_qs});
    parser.addOption(
        {u"repetitions"_qs, u"How often each side reads each frame."_qs, u"N"_qs, u"3"_qs});
    parser.addHelpOption();
    parser.process(application);
    lumivane::bench::Options options;
    options.only = parser.value(u"only"_qs);
    options.repetitions = std::max(1, parser.value(u"repetitions"_qs).toInt());
    return lumivane::bench::run(options);
}
