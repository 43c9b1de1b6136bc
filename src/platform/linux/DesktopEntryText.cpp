#include "platform/linux/DesktopEntryText.h"

#include <QStringDecoder>

#include <algorithm>
#include <utility>

namespace lumivane {

namespace {

constexpr QLatin1StringView groupHeader("[Desktop Entry]");

/// The letters behind a backslash, and what each stands for.
constexpr std::pair<char16_t, char16_t> stringEscapes[] = {
    {u's', u' '}, {u'n', u'\n'}, {u't', u'\t'}, {u'r', u'\r'}, {u'\\', u'\\'}};

constexpr QStringView reservedInExec(u" \t\n\"'\\><~|&;$*?#()`");
constexpr QStringView escapedInQuotes(u"\"`$\\");

std::optional<QString> strictText(const QByteArray& bytes) {
    if (bytes.size() > DesktopEntryText::mostBytes || bytes.contains('\0')) {
        return std::nullopt;
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
    QString text = decoder(bytes);
    // A sequence that is cut off at the end is only found out by more text.
    text += QString(decoder(QByteArrayView("\n")));
    if (decoder.hasError()) {
        return std::nullopt;
    }
    text.chop(1);
    return text;
}

bool isKey(QStringView text) {
    const qsizetype bracket = text.indexOf(u'[');
    const QStringView name = bracket < 0 ? text : text.left(bracket);
    const bool hasLocale = bracket < 0 || text.endsWith(u']');
    return hasLocale && !name.isEmpty() &&
           std::all_of(name.begin(), name.end(), [](QChar character) {
               return character.unicode() < 0x80 &&
                      (character.isLetterOrNumber() || character == u'-');
           });
}

QString escaped(const QString& value) {
    QString text;
    for (const QChar character : value) {
        const auto* const found =
            std::find_if(std::begin(stringEscapes), std::end(stringEscapes),
                         [&](const auto& escape) { return escape.second == character; });
        // Blanks need it at the very start only, and read badly elsewhere.
        if (found == std::end(stringEscapes) || (character == u' ' && !text.isEmpty())) {
            text += character;
        } else {
            text += u'\\';
            text += QChar(found->first);
        }
    }
    return text;
}

std::optional<QString> unescaped(const QString& value) {
    QString text;
    for (qsizetype index = 0; index < value.size(); ++index) {
        if (value[index] != u'\\') {
            text += value[index];
            continue;
        }
        ++index;
        const auto* const found = std::find_if(
            std::begin(stringEscapes), std::end(stringEscapes), [&](const auto& escape) {
                return index < value.size() && escape.first == value[index];
            });
        if (found == std::end(stringEscapes)) {
            return std::nullopt;
        }
        text += QChar(found->second);
    }
    return text;
}

QString quotedForExec(const QString& argument) {
    QString text = argument;
    text.replace(u'%', u"%%"_qs);
    const bool isPlain =
        !text.isEmpty() && std::none_of(text.begin(), text.end(), [](QChar character) {
            return reservedInExec.contains(character);
        });
    if (isPlain) {
        return text;
    }
    QString quoted = u"\""_qs;
    for (const QChar character : std::as_const(text)) {
        if (escapedInQuotes.contains(character)) {
            quoted += u'\\';
        }
        quoted += character;
    }
    return quoted + u'"';
}

/// Takes the next argument off the front of `rest`, quotes and their escapes undone.
std::optional<QString> takeArgument(QStringView& rest) {
    const bool isQuoted = rest.startsWith(u'"');
    QString argument;
    qsizetype index = isQuoted ? 1 : 0;
    const auto atEnd = [&] {
        return index >= rest.size() || rest[index] == (isQuoted ? u'"' : u' ');
    };
    for (; !atEnd(); ++index) {
        if (isQuoted && rest[index] == u'\\') {
            ++index;
            if (index >= rest.size() || !escapedInQuotes.contains(rest[index])) {
                return std::nullopt;
            }
        } else if (isQuoted ? escapedInQuotes.contains(rest[index])
                            : reservedInExec.contains(rest[index])) {
            return std::nullopt;
        }
        argument += rest[index];
    }
    if (isQuoted && index >= rest.size()) {
        return std::nullopt;
    }
    rest = rest.mid(index + (isQuoted ? 1 : 0));
    const bool endsHere = rest.isEmpty() || rest.startsWith(u' ');
    return endsHere ? std::optional(argument) : std::nullopt;
}

std::optional<QString> withoutFields(QString argument) {
    const QString percent = u"%%"_qs;
    if (QString(argument).remove(percent).contains(u'%')) {
        return std::nullopt;
    }
    return argument.replace(percent, u"%"_qs);
}

} // namespace

DesktopEntryText::DesktopEntryText() { addLine(groupHeader); }

std::optional<DesktopEntryText> DesktopEntryText::parse(const QByteArray& bytes) {
    const auto text = strictText(bytes);
    if (!text) {
        return std::nullopt;
    }
    DesktopEntryText entry;
    entry.m_lines.clear();
    entry.m_isInGroup = false;
    entry.m_groupEnd = 0;
    QStringList lines = text->split(u'\n');
    if (lines.constLast().isEmpty()) {
        lines.removeLast(); // what follows the end of the last line
    }
    for (const QString& line : std::as_const(lines)) {
        if (!entry.addLine(line)) {
            return std::nullopt;
        }
    }
    return entry.m_groupEnd == 0 ? std::nullopt : std::optional(entry);
}

bool DesktopEntryText::addLine(const QString& text) {
    const QString words = text.trimmed();
    Line line{text, {}, {}};
    if (words.startsWith(u'[')) {
        m_isInGroup = words == groupHeader;
        // The group comes first, and there is one.
        if (m_isInGroup != (m_groupEnd == 0)) {
            return false;
        }
    } else if (!words.isEmpty() && !words.startsWith(u'#')) {
        const qsizetype equals = words.indexOf(u'=');
        const QString key = words.left(equals).trimmed();
        if (m_groupEnd == 0 || equals < 0 || !isKey(key) || (m_isInGroup && find(key) != nullptr)) {
            return false;
        }
        if (m_isInGroup) {
            line.key = key;
            line.value = words.mid(equals + 1).trimmed();
        }
    }
    m_lines.push_back(line);
    if (m_isInGroup && !words.isEmpty()) {
        m_groupEnd = m_lines.size();
    }
    return true;
}

QByteArray DesktopEntryText::bytes() const {
    QByteArray bytes;
    for (const Line& line : m_lines) {
        bytes += line.text.toUtf8() + '\n';
    }
    return bytes;
}

QStringList DesktopEntryText::keys() const {
    QStringList keys;
    for (const Line& line : m_lines) {
        if (!line.key.isEmpty()) {
            keys << line.key;
        }
    }
    return keys;
}

const DesktopEntryText::Line* DesktopEntryText::find(const QString& key) const {
    const auto found = std::find_if(m_lines.begin(), m_lines.end(),
                                    [&](const Line& line) { return line.key == key; });
    return found == m_lines.end() ? nullptr : &*found;
}

std::optional<QString> DesktopEntryText::string(QLatin1StringView key) const {
    const Line* const line = find(key);
    return line == nullptr ? std::nullopt : unescaped(line->value);
}

std::optional<bool> DesktopEntryText::boolean(const QString& key) const {
    const Line* const line = find(key);
    // Numbers are an older way to write them, and are read to this day.
    if (line != nullptr && (line->value == u"true" || line->value == u"1")) {
        return true;
    }
    if (line != nullptr && (line->value == u"false" || line->value == u"0")) {
        return false;
    }
    return std::nullopt;
}

std::optional<QStringList> DesktopEntryText::list(QLatin1StringView key) const {
    const auto value = string(key);
    return value ? std::optional(value->split(u';', Qt::SkipEmptyParts)) : std::nullopt;
}

void DesktopEntryText::setString(QLatin1StringView key, const QString& value) {
    set(key, escaped(value));
}

void DesktopEntryText::setList(QLatin1StringView key, const QStringList& words) {
    set(key, escaped(words.join(u';') + u';'));
}

void DesktopEntryText::set(const QString& key, const QString& value) {
    const Line line{key + u'=' + value, key, value};
    const auto found = std::find_if(m_lines.begin(), m_lines.end(),
                                    [&](const Line& other) { return other.key == key; });
    if (found != m_lines.end()) {
        *found = line;
        return;
    }
    m_lines.insert(m_lines.begin() + static_cast<std::ptrdiff_t>(m_groupEnd), line);
    ++m_groupEnd;
}

void DesktopEntryText::remove(const QString& key) {
    const auto found = std::find_if(m_lines.begin(), m_lines.end(),
                                    [&](const Line& line) { return line.key == key; });
    if (found != m_lines.end()) {
        m_lines.erase(found);
        --m_groupEnd;
    }
}

QString execLine(const QStringList& arguments) {
    QStringList quoted;
    for (const QString& argument : arguments) {
        quoted << quotedForExec(argument);
    }
    return quoted.join(u' ');
}

std::optional<QStringList> execArguments(const QString& line) {
    QStringList arguments;
    QStringView rest = QStringView(line).trimmed();
    while (!rest.isEmpty()) {
        const auto written = takeArgument(rest);
        const auto argument = written ? withoutFields(*written) : std::nullopt;
        if (!argument) {
            return std::nullopt;
        }
        arguments << *argument;
        while (rest.startsWith(u' ')) {
            rest = rest.mid(1);
        }
    }
    return arguments;
}

} // namespace lumivane
