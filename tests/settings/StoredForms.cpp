#include "StoredForms.h"

#include <QFile>

#include <gtest/gtest.h>

namespace lumivane::test {

QByteArray storedForm(const QString& name) {
    QFile file(QStringLiteral(LUMIVANE_TEST_DATA) + u"/settings/"_qs + name + u".json"_qs);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    QByteArray form = file.readAll();
    EXPECT_TRUE(form.endsWith('\n')) << name.toStdString();
    form.chop(1);
    return form;
}

QString storedKey(int version) {
    return u"Lumivane.native.settings.v"_qs + QString::number(version);
}

AppSettings currentSettings() {
    return {
        .configured = true,
        .paused = true,
        .activationMode = ActivationMode::hotkey,
        .corner = ScreenCorner::topLeft,
        .hotKey = {.option = true, .control = true, .shift = true, .key = u"9"_qs},
        .preset = Preset::custom,
        .customPrompt = u"Say it in \"two\" lines,\nin 漢字 or é 😀."_qs,
        .launchAtLogin = false,
        .showInMenuBar = false,
        .useDarkAppearance = false,
        .showProcessingOverlay = false,
        .cornerSize = 54.39999999999905,
        .dwellSeconds = 0.30000000000000004,
        .pollSeconds = 0.05,
        .requestTimeoutSeconds = 45,
        .deliveryMode = DeliveryMode::clipboard,
        .overlayPosition = OverlayPosition::middleCenter,
        .resultSeconds = 12.5,
        .keepUntilDismissed = true,
        .extendOnHover = false,
        .overlayBackground = OverlayBackgroundStyle::slate,
        .backgroundOpacity = 33,
        .overlayTextColor = OverlayTextColor::amber,
        .overlayTextSize = OverlayTextSize::large,
        .dismissWithEscape = false,
        .soundWhenReady = true,
        .includePromptWhenCopying = true,
        .notifyOnCopy = true,
        .streamText = true,
        .analysisMode = AnalysisMode::hyperAccurate,
        .saveLeetCodeNotes = false,
    };
}

AppSettings ninthSettings() {
    AppSettings settings = currentSettings();
    settings.customPrompt = u"From the ninth form."_qs;
    return settings;
}

} // namespace lumivane::test
