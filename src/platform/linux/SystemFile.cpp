#include "platform/linux/SystemFile.h"

#include <QByteArrayView>
#include <QFile>
#include <QUtf8StringView>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace lumivane {

namespace {

constexpr std::size_t maximumBytes = 16 * 1024;

/// Everything up to one byte more than may be; none after a failure.
std::optional<QByteArray> readFrom(int file) {
    QByteArray content(static_cast<qsizetype>(maximumBytes + 1), '\0');
    std::size_t size = 0;
    while (size <= maximumBytes) {
        const ssize_t count = ::read(file, content.data() + size, maximumBytes + 1 - size);
        if (count == 0) {
            break;
        }
        if (count < 0 && errno != EINTR) {
            return std::nullopt;
        }
        size += count < 0 ? 0 : static_cast<std::size_t>(count);
    }
    if (size > maximumBytes) {
        return std::nullopt;
    }
    content.truncate(static_cast<qsizetype>(size));
    return content;
}

bool isName(const QByteArray& text) {
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](char character) {
        return (character >= 'A' && character <= 'Z') || (character >= '0' && character <= '9') ||
               character == '_';
    });
}

/// Whether a shell would not take this character for itself, behind a backslash or not.
bool standsForItself(char character, char quote) {
    constexpr QByteArrayView special(" \t\"'`$&;|<>()#*?");
    return quote == '\0' ? !special.contains(character) : character != quote;
}

/// What a shell would make of a plain, a single-quoted or a double-quoted text; none for anything
/// that would take a shell to understand.
std::optional<QByteArray> unquoted(const QByteArray& text) {
    const bool isQuoted = text.startsWith('"') || text.startsWith('\'');
    const char quote = isQuoted ? text.front() : '\0';
    if (isQuoted && (text.size() < 2 || text.back() != quote)) {
        return std::nullopt;
    }
    const QByteArray inner = isQuoted ? text.mid(1, text.size() - 2) : text;
    QByteArray result;
    for (qsizetype index = 0; index < inner.size(); ++index) {
        const bool isEscape = inner[index] == '\\' && quote != '\'';
        if (isEscape && ++index == inner.size()) {
            return std::nullopt;
        }
        if (!isEscape && !standsForItself(inner[index], quote)) {
            return std::nullopt;
        }
        result += inner[index];
    }
    return result;
}

} // namespace

std::optional<QByteArray> readSystemFile(const QString& path) {
    // Without waiting for the other end, should somebody have put a pipe there.
    const int file = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) {
        return std::nullopt;
    }

    struct stat status {};

    std::optional<QByteArray> content;
    if (::fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
        content = readFrom(file);
    }
    ::close(file);
    return content;
}

std::optional<QString> readSystemLine(const QString& path) {
    std::optional<QByteArray> content = readSystemFile(path);
    if (!content) {
        return std::nullopt;
    }
    while (content->endsWith('\n') || content->endsWith('\0')) {
        content->chop(1);
    }
    return QUtf8StringView(*content).isValidUtf8() ? std::optional(QString::fromUtf8(*content))
                                                   : std::nullopt;
}

QHash<QString, QString> readAssignments(const QString& path) {
    QHash<QString, QString> result;
    const QByteArray content = readSystemFile(path).value_or(QByteArray());
    for (const QByteArray& line : content.split('\n')) {
        const QByteArray trimmed = line.trimmed();
        const qsizetype equals = trimmed.indexOf('=');
        if (equals < 0 || !isName(trimmed.first(equals))) {
            continue;
        }
        const auto value = unquoted(trimmed.mid(equals + 1));
        if (value && QUtf8StringView(*value).isValidUtf8()) {
            result.insert(QString::fromLatin1(trimmed.first(equals)), QString::fromUtf8(*value));
        }
    }
    return result;
}

} // namespace lumivane
