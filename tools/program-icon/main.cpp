#include "IconDrawing.h"
#include "support/ToolMain.h"

#include <QCommandLineParser>
#include <QSaveFile>

#include <optional>

namespace lumivane {

namespace {

using namespace tools;

constexpr int largestEdge = 2048;

struct Options {
    QString path;
    std::optional<int> edge; ///< pixels of a PNG; none for the SVG
};

void describe(QCommandLineParser& parser) {
    parser.setApplicationDescription(
        u"Writes the program's icon, drawn from the mark's own geometry, to a file."_qs);
    parser.addPositionalArgument(u"FILE"_qs, u"The file to write."_qs);
    parser.addOption(
        {u"png"_qs, u"A PNG of EDGE by EDGE pixels instead of an SVG."_qs, u"EDGE"_qs});
}

/// Throws the words that say what is wrong.
Options optionsFrom(const QCommandLineParser& parser) {
    if (parser.positionalArguments().size() != 1) {
        throw u"one FILE is needed; see --help"_qs;
    }
    Options options{.path = parser.positionalArguments().constFirst(), .edge = std::nullopt};
    if (parser.isSet(u"png"_qs)) {
        bool isNumber = false;
        const int edge = parser.value(u"png"_qs).toInt(&isNumber);
        if (!isNumber || edge < 1 || edge > largestEdge) {
            throw u"--png needs a number of pixels from 1 to %1"_qs.arg(largestEdge);
        }
        options.edge = edge;
    }
    return options;
}

int run(const Options& options) {
    QSaveFile file(options.path);
    const bool isWritten = file.open(QIODevice::WriteOnly) &&
                           (options.edge ? IconDrawing::image(*options.edge).save(&file, "PNG")
                                         : file.write(IconDrawing::svg()) >= 0) &&
                           file.commit();
    return isWritten
               ? success
               : fail(failure, u"cannot write %1: %2"_qs.arg(options.path, file.errorString()));
}

} // namespace

} // namespace lumivane

int main(int argc, char** argv) {
    using namespace lumivane;
    return tools::toolMain(argc, argv, u"program-icon"_qs, describe, optionsFrom, run);
}
