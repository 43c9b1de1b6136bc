// Takes a picture of every panel in every state, without a display, and one contact sheet of them.

#include "Catalogue.h"
#include "ContactSheet.h"
#include "Photographer.h"
#include "support/ToolMain.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QQuickWindow>
#include <QRegularExpression>

#include <algorithm>
#include <stdexcept>

namespace lumivane {

namespace {

using namespace tools;

struct Options {
    bool onlyLists = false;
    QString folder;
    QString sheetFile; ///< empty: none
    std::vector<double> scales;
    QString only;
    std::vector<Specimen> specimens;
};

const char* const scaleVariable = "QT_SCALE_FACTOR";

void describe(QCommandLineParser& parser) {
    parser.setApplicationDescription(
        u"Draws every floating panel in every state, without a display: one PNG file for each in "
        u"FOLDER, and a contact sheet."_qs);
    parser.addPositionalArgument(u"FOLDER"_qs, u"Where the pictures go."_qs);
    parser.addOption({u"sheet"_qs, u"Write the contact sheet to FILE."_qs, u"FILE"_qs});
    parser.addOption({u"scale"_qs,
                      u"Pixels per point; may be repeated. 1, 1.5 and 2 if not given."_qs,
                      u"S"_qs});
    parser.addOption({u"only"_qs, u"Only panels whose name fits, such as \"panels/error-*\"."_qs,
                      u"PATTERN"_qs});
    parser.addOption({u"list"_qs, u"Print the names of the panels and end."_qs});
}

std::vector<double> scalesFrom(const QCommandLineParser& parser) {
    constexpr double largest = 4;
    std::vector<double> scales;
    for (const QString& text : parser.values(u"scale"_qs)) {
        bool isNumber = false;
        const double scale = text.toDouble(&isNumber);
        if (!isNumber || !(scale > 0) || scale > largest) {
            throw u"--scale needs a number above 0, at most %1"_qs.arg(largest);
        }
        scales.push_back(scale);
    }
    return scales.empty() ? std::vector<double>{1, 1.5, 2} : scales;
}

std::vector<Specimen> specimensLike(const QString& pattern) {
    std::vector<Specimen> specimens = catalogue();
    if (pattern.isEmpty()) {
        return specimens;
    }
    const auto expression = QRegularExpression::fromWildcard(pattern, Qt::CaseSensitive);
    std::erase_if(specimens, [&](const Specimen& specimen) {
        return !expression.match(specimen.name).hasMatch();
    });
    if (specimens.empty()) {
        throw u"no panel is called %1; see --list"_qs.arg(pattern);
    }
    return specimens;
}

/// Throws the words that say what is wrong.
Options optionsFrom(const QCommandLineParser& parser) {
    Options options;
    options.only = parser.value(u"only"_qs);
    options.specimens = specimensLike(options.only);
    options.onlyLists = parser.isSet(u"list"_qs);
    if (options.onlyLists) {
        return options;
    }
    options.folder = parser.positionalArguments().value(0);
    if (options.folder.isEmpty() || parser.positionalArguments().size() != 1) {
        throw u"one FOLDER is needed; see --help"_qs;
    }
    options.scales = scalesFrom(parser);
    options.sheetFile = parser.value(u"sheet"_qs);
    return options;
}

// What the toolkit calls the quality of a picture without loss.
constexpr int fast = 70;
constexpr int smallest = 0;

void write(const QImage& image, const QString& file, int quality) {
    if (!QDir().mkpath(QFileInfo(file).path()) || !image.save(file, "PNG", quality)) {
        throw std::runtime_error(u"cannot write %1"_qs.arg(file).toStdString());
    }
}

/// Goes on where a view complains, so that there is something to look at.
int takePictures(const Options& options) {
    if (!QDir().mkpath(options.folder)) {
        return fail(failure, u"cannot write to %1"_qs.arg(options.folder));
    }
    Photographer photographer;
    int code = success;
    const double scale = options.scales.front();
    for (const Specimen& specimen : options.specimens) {
        try {
            write(photographer.picture(specimen), picturePath(options.folder, specimen.name, scale),
                  fast);
        } catch (const std::exception& error) {
            code = fail(failure, specimen.name + u": "_qs + QString::fromUtf8(error.what()));
        }
        for (const QString& complaint : photographer.takeComplaints()) {
            code = fail(failure, specimen.name + u": "_qs + complaint);
        }
    }
    return code;
}

/// The scale of a process is fixed when it starts, so each has one of its own.
int startAtScale(const Options& options, double scale) {
    const QString number = QString::number(scale);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(scaleVariable), number);
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    QStringList arguments{options.folder, u"--scale"_qs, number};
    if (!options.only.isEmpty()) {
        arguments += {u"--only"_qs, options.only};
    }
    process.start(QCoreApplication::applicationFilePath(), arguments);
    if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit) {
        return fail(failure, u"the pictures at scale %1 could not be taken"_qs.arg(number));
    }
    return process.exitCode();
}

void writeSheet(const Options& options) {
    if (options.sheetFile.isEmpty()) {
        return;
    }
    QStringList names;
    for (const Specimen& specimen : options.specimens) {
        names += specimen.name;
    }
    write(contactSheet(options.folder, names, options.scales), options.sheetFile, smallest);
    std::printf("%s\n", qUtf8Printable(QFileInfo(options.sheetFile).absoluteFilePath()));
}

int run(const Options& options) {
    if (options.onlyLists) {
        for (const Specimen& specimen : options.specimens) {
            std::printf("%s\n", qUtf8Printable(specimen.name));
        }
        return success;
    }
    const QByteArray number = QByteArray::number(options.scales.front());
    int code = success;
    if (options.scales.size() == 1 && qgetenv(scaleVariable) == number) {
        code = takePictures(options);
    } else {
        for (const double scale : options.scales) {
            code = std::max(code, startAtScale(options, scale));
        }
    }
    try {
        writeSheet(options);
    } catch (const std::exception& error) {
        return fail(failure, QString::fromUtf8(error.what()));
    }
    return code;
}

} // namespace

} // namespace lumivane

int main(int argc, char** argv) {
    using namespace lumivane;
    // No window ever shows, whatever desktop the tool is started on.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QQuickWindow::setSceneGraphBackend(u"software"_qs);
    return tools::toolMain<QGuiApplication>(argc, argv, u"overlay-gallery"_qs, describe,
                                            optionsFrom, run);
}
