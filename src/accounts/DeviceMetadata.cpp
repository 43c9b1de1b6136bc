#include "accounts/DeviceMetadata.h"

#include "domain/Characters.h"

#include <QStringView>

#include <algorithm>
#include <array>
#include <string_view>

namespace lumivane::DeviceMetadata {

namespace {

constexpr std::string_view laptopPrefix = "MacBook";
constexpr std::array<std::string_view, 4> desktopPrefixes{"iMac", "Macmini", "MacPro", "MacStudio"};
constexpr qsizetype maximumVersionDigits = 6; ///< of one number; longer ones are none

/// Blanks in place of control characters, and one blank between words.
QString onOneLine(QString text) {
    std::replace_if(
        text.begin(), text.end(),
        [](QChar unit) { return unit.category() == QChar::Other_Control; }, QChar(u' '));
    return text.simplified();
}

/// As many whole characters as hold at most `limit` scalars.
QString cut(const QString& text, qsizetype limit) {
    qsizetype length = 0;
    std::int64_t scalars = 0;
    while (length < text.size()) {
        const QStringView character = firstCharacters(QStringView(text).sliced(length), 1);
        scalars += scalarCount(character);
        if (scalars > limit) {
            break;
        }
        length += character.size();
    }
    return text.first(length).trimmed();
}

bool startsWithAny(const QString& text, const auto& prefixes) {
    return std::any_of(prefixes.begin(), prefixes.end(), [&text](std::string_view prefix) {
        return text.startsWith(toLatin1(prefix));
    });
}

QString versionNumber(const QString& digits) {
    const bool isNumber = !digits.isEmpty() && digits.size() <= maximumVersionDigits &&
                          std::all_of(digits.begin(), digits.end(),
                                      [](QChar digit) { return digit >= u'0' && digit <= u'9'; });
    return isNumber ? digits : u"0"_qs;
}

} // namespace

QString sanitizeName(const std::optional<QString>& name) {
    const QString result = name ? cut(onOneLine(*name), maximumNameLength) : QString();
    return result.isEmpty() ? QString(fallbackName) : result;
}

DeviceKind kind(const std::optional<QString>& hardwareModel,
                const std::function<bool()>& hasInternalBattery) {
    const QString model = hardwareModel.value_or(QString()).trimmed();
    if (model.startsWith(toLatin1(laptopPrefix))) {
        return DeviceKind::laptop;
    }
    if (startsWithAny(model, desktopPrefixes)) {
        return DeviceKind::desktop;
    }
    return hasInternalBattery() ? DeviceKind::laptop : DeviceKind::desktop;
}

QString osVersion(const SystemVersion& version) {
    const QString numbers =
        versionNumber(version.majorVersion) + u'.' + versionNumber(version.minorVersion);
    const QString name = cut(onOneLine(version.name), maximumOSVersionLength - 1 - numbers.size());
    return name.isEmpty() ? numbers : name + u' ' + numbers;
}

} // namespace lumivane::DeviceMetadata
