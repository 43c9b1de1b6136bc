#include "notes/NoteNaming.h"

#include "domain/Characters.h"

#include <QChar>
#include <QLatin1String>
#include <QList>
#include <QLocale>

#include <algorithm>
#include <array>

namespace lumivane {

namespace {

/// More than any name keeps, and little enough for costly work on text of any length.
constexpr qsizetype consideredUnits = 1024;

constexpr char32_t zeroWidthNonJoiner = 0x200C; // Persian and Indic words need it
constexpr char32_t zeroWidthJoiner = 0x200D;    // holds emoji together

enum class Use { keep, blank, drop };

/// What becomes of a scalar in a file name. Unassigned scalars and halves of pairs are refused by
/// some file systems; marks without a shape of their own can turn a name around or hide its end.
Use use(char32_t scalar) {
    if (scalar < 0x80 &&
        QLatin1String("/\\:*?\"<>|").contains(QChar(static_cast<char16_t>(scalar)))) {
        return Use::blank;
    }
    if (scalar == QChar::ReplacementCharacter) {
        return Use::drop; // what half a pair has become
    }
    switch (QChar::category(scalar)) {
    case QChar::Separator_Space:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
    case QChar::Other_Control:
        return Use::blank;
    case QChar::Other_Format:
        return scalar == zeroWidthJoiner || scalar == zeroWidthNonJoiner ? Use::keep : Use::drop;
    case QChar::Other_Surrogate:
    case QChar::Other_PrivateUse:
    case QChar::Other_NotAssigned:
        return Use::drop;
    default:
        return Use::keep;
    }
}

QString withoutRefused(QStringView text) {
    QString kept;
    for (const char32_t scalar : text.toUcs4()) {
        switch (use(scalar)) {
        case Use::keep:
            kept += QChar::fromUcs4(scalar);
            break;
        case Use::blank:
            kept += u' ';
            break;
        case Use::drop:
            break;
        }
    }
    return kept.normalized(QString::NormalizationForm_C).simplified();
}

bool isVisible(QStringView text) {
    const QList<uint> scalars = text.toUcs4();
    return std::any_of(scalars.begin(), scalars.end(), [](char32_t scalar) {
        return !QChar::isMark(scalar) && QChar::category(scalar) != QChar::Other_Format;
    });
}

/// A name may end in neither, and one that begins with a dot is hidden.
QStringView withoutOuterDots(QStringView text) {
    const auto isOuter = [](QChar unit) { return unit == u'.' || unit == u' '; };
    while (!text.isEmpty() && isOuter(text.front())) {
        text = text.mid(1);
    }
    while (!text.isEmpty() && isOuter(text.back())) {
        text.chop(1);
    }
    return text;
}

/// Some systems take a name for a device, whatever follows its first dot.
bool isDeviceName(QStringView text) {
    static constexpr std::array devices{"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"};
    const qsizetype dot = text.indexOf(u'.');
    const QStringView name = (dot < 0 ? text : text.left(dot)).trimmed();
    if (std::any_of(devices.begin(), devices.end(), [name](const char* device) {
            return name.compare(QLatin1String(device), Qt::CaseInsensitive) == 0;
        })) {
        return true;
    }
    const bool isPort = name.startsWith(u"COM", Qt::CaseInsensitive) ||
                        name.startsWith(u"LPT", Qt::CaseInsensitive);
    return isPort && name.size() == 4 && QStringView(u"0123456789¹²³").contains(name.back());
}

qsizetype utf8Size(QStringView text) { return text.toUtf8().size(); }

/// The longest beginning of whole pieces within `bytes`; `sizeOf` says how many units the piece at
/// the front of a text takes.
template <typename SizeOf>
QStringView prefixOfPieces(QStringView text, qsizetype bytes, SizeOf sizeOf) {
    qsizetype end = 0;
    while (end < text.size()) {
        const qsizetype size = sizeOf(text.mid(end));
        bytes -= utf8Size(text.mid(end, size));
        if (bytes < 0) {
            break;
        }
        end += size;
    }
    return text.left(end);
}

} // namespace

QString NoteNaming::title(const LeetCodeNote& note) {
    return folderName + u" — "_qs + note.questionTitle + u" — "_qs + timestamp(note.createdAt);
}

QString NoteNaming::timestamp(const QDateTime& moment) {
    return QLocale::c().toString(moment.toLocalTime(), u"yyyy-MM-dd HH:mm:ss");
}

QStringView NoteNaming::prefixOfBytes(QStringView text, qsizetype bytes) {
    const QStringView characters = prefixOfPieces(
        text, bytes, [](QStringView rest) { return firstCharacters(rest, 1).size(); });
    if (!characters.isEmpty()) {
        return characters;
    }
    return prefixOfPieces(text, bytes, [](QStringView rest) {
        return rest.size() > 1 && rest[0].isHighSurrogate() && rest[1].isLowSurrogate() ? 2 : 1;
    });
}

QString NoteNaming::fileStem(const LeetCodeNote& note) {
    const QString time = timestamp(note.createdAt).replace(u':', u'.');
    const QString ending = time.isEmpty() ? QString() : u" - "_qs + time;
    QString name = withoutRefused(QStringView(note.questionTitle).left(consideredUnits));
    name = withoutOuterDots(name).toString();
    if (isDeviceName(name)) {
        name.prepend(u'_');
    }
    const qsizetype room = maximumFileNameBytes - reservedFileNameBytes - utf8Size(ending);
    name = withoutOuterDots(prefixOfBytes(name, room)).toString();
    if (!isVisible(name)) {
        name = u"LeetCode solution"_qs;
    }
    return name + ending;
}

} // namespace lumivane
