#pragma once

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QString>

#include <cmath>
#include <cstdio>

namespace lumivane::tools {

enum ExitCode { success = 0, failure = 1, usage = 2 };

/// Says on standard error what went wrong, behind the tool's name; gives `code` back.
inline int fail(ExitCode code, const QString& words) {
    std::fprintf(stderr, "%s: %s\n", qUtf8Printable(QCoreApplication::applicationName()),
                 qUtf8Printable(words));
    return code;
}

inline void addScaleOption(QCommandLineParser& parser) {
    parser.addOption(
        {u"scale"_qs, u"Pixels per point of the display, 1 if not given."_qs, u"S"_qs});
}

/// Throws the words that say what is wrong, as a QString.
inline double scaleFrom(const QCommandLineParser& parser) {
    if (!parser.isSet(u"scale"_qs)) {
        return 1;
    }
    bool isNumber = false;
    const double scale = parser.value(u"scale"_qs).toDouble(&isNumber);
    if (!isNumber || !std::isfinite(scale) || scale <= 0) {
        throw u"--scale needs a number above 0"_qs;
    }
    return scale;
}

/// The main function of a tool: strict options, help, and an exit status of 0, 1 or 2.
/// `optionsFrom` throws the words that say what is wrong, as a QString; `run` gives the status.
template <typename Application = QCoreApplication, typename Describe, typename OptionsFrom,
          typename Run>
int toolMain(int argc, char** argv, const QString& name, Describe describe, OptionsFrom optionsFrom,
             Run run) {
    const Application application(argc, argv);
    QCoreApplication::setApplicationName(name);
    QCommandLineParser parser;
    describe(parser);
    parser.addOption({{u"h"_qs, u"help"_qs}, u"Show this help."_qs});
    if (!parser.parse(QCoreApplication::arguments())) {
        return fail(usage, parser.errorText());
    }
    if (parser.isSet(u"help"_qs)) {
        std::printf("%s", qUtf8Printable(parser.helpText()));
        return success;
    }
    try {
        return run(optionsFrom(parser));
    } catch (const QString& words) {
        return fail(usage, words);
    }
}

} // namespace lumivane::tools
