#include "platform/linux/RecognitionLanguages.h"

#include <QFileInfo>
#include <QLocale>

#include <array>

namespace lumivane::RecognitionLanguages {

namespace {

QString scriptSuffix(QLocale::Script script) {
    switch (script) {
    case QLocale::CyrillicScript:
        return u"_cyrl"_qs;
    case QLocale::LatinScript:
        return u"_latn"_qs;
    default:
        return {};
    }
}

/// Names of data files that fit a locale. They follow ISO 639-2, with a few names of their own.
QStringList namesFor(const QLocale& locale) {
    switch (locale.language()) {
    case QLocale::Chinese:
        return {locale.script() == QLocale::TraditionalHanScript ? u"chi_tra"_qs : u"chi_sim"_qs};
    case QLocale::NorwegianBokmal:
    case QLocale::NorwegianNynorsk:
        return {u"nor"_qs};
    default:
        break;
    }
    const QString code =
        QLocale::languageToCode(locale.language(), QLocale::ISO639Part2T | QLocale::ISO639Part3);
    const QString suffix = scriptSuffix(locale.script());
    return suffix.isEmpty() ? QStringList{code} : QStringList{code, code + suffix};
}

} // namespace

QString dataFolder() {
    QString named = qEnvironmentVariable("TESSDATA_PREFIX");
    if (!named.isEmpty()) {
        return named;
    }
    constexpr std::array<QStringView, 2> known{u"/usr/share/tesseract-ocr/5/tessdata",
                                               u"/usr/share/tessdata"};
    for (const QStringView folder : known) {
        if (QFileInfo(folder.toString()).isDir()) {
            return folder.toString();
        }
    }
    return known.front().toString();
}

bool isInstalled(const QString& dataFolder, const QString& language) {
    return QFileInfo(u"%1/%2.traineddata"_qs.arg(dataFolder, language)).isFile();
}

QStringList fitting(const QString& dataFolder, const QStringList& locales) {
    QStringList languages{u"eng"_qs};
    for (const QString& locale : locales) {
        for (const QString& name : namesFor(QLocale(locale))) {
            if (!languages.contains(name) && isInstalled(dataFolder, name)) {
                languages.append(name);
            }
        }
    }
    return languages;
}

} // namespace lumivane::RecognitionLanguages
