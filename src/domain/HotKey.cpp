#include "domain/HotKey.h"

#include "domain/Characters.h"
#include "domain/SettingsValidationError.h"

#include <QStringList>

#include <utility>

namespace lumivane {

namespace {

[[noreturn]] void failInvalid() {
    throw SettingsValidationError(SettingsValidationError::Case::invalidHotKey);
}

QStringList pieces(const QString& text) {
    QStringList result;
    for (const QString& piece : text.split(u'+', Qt::SkipEmptyParts)) {
        const QString name = piece.trimmed().toLower();
        if (!name.isEmpty()) {
            result.append(name);
        }
    }
    return result;
}

bool isLetterOrNumberKey(const QString& key) {
    return characterCount(key) == 1 && isLetterOrNumber(key.toUcs4().front());
}

/// The flag that a modifier's name sets, or null for any other word.
bool* flagNamed(const QString& name, HotKey& hotKey) {
    if (name == u"cmd" || name == u"command") {
        return &hotKey.command;
    }
    if (name == u"alt" || name == u"option") {
        return &hotKey.option;
    }
    if (name == u"ctrl" || name == u"control") {
        return &hotKey.control;
    }
    if (name == u"shift") {
        return &hotKey.shift;
    }
    return nullptr;
}

} // namespace

HotKey HotKey::defaultValue() {
    return {.command = true, .option = true, .control = true, .shift = false, .key = u"S"_qs};
}

HotKey HotKey::parse(const QString& text) {
    QStringList names = pieces(text);
    if (names.size() < 2) {
        failInvalid();
    }
    HotKey hotKey;
    hotKey.key = names.takeLast().toUpper();
    if (!isLetterOrNumberKey(hotKey.key)) {
        failInvalid();
    }
    for (const QString& name : std::as_const(names)) {
        bool* flag = flagNamed(name, hotKey);
        if (flag == nullptr) {
            failInvalid();
        }
        *flag = true;
    }
    if (!hotKey.command && !hotKey.option && !hotKey.control && !hotKey.shift) {
        failInvalid();
    }
    return hotKey;
}

QString HotKey::displayValue() const {
    QStringList tokens;
    if (command) {
        tokens.append(u"cmd"_qs);
    }
    if (option) {
        tokens.append(u"alt"_qs);
    }
    if (control) {
        tokens.append(u"ctrl"_qs);
    }
    if (shift) {
        tokens.append(u"shift"_qs);
    }
    tokens.append(key.toUpper());
    return tokens.join(u'+');
}

} // namespace lumivane
