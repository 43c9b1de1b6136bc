#pragma once

#include <QString>
#include <QStringList>

namespace lumivane::RecognitionLanguages {

/// The folder that holds the data files: the one that `TESSDATA_PREFIX` names, or the first of the
/// distribution's that exists.
QString dataFolder();

/// Whether the folder holds the data of one language.
bool isInstalled(const QString& dataFolder, const QString& language);

/// What to read a user's screen with: English, and every installed language that fits one of
/// `locales` ("de-DE", "zh-Hant-TW"; as QLocale::uiLanguages gives them), in their order. English
/// is named whether it is installed or not, since nothing is read without it.
QStringList fitting(const QString& dataFolder, const QStringList& locales);

} // namespace lumivane::RecognitionLanguages
