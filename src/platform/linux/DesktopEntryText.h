#pragma once

#include <QByteArray>
#include <QLatin1StringView>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <optional>
#include <vector>

namespace lumivane {

/// The main group of a desktop entry file, as the desktop entry format writes it.
///
/// Whatever it does not know is kept as it is: other keys, translations, comments, the order of the
/// lines, further groups. Keys are ASCII, so that they compare byte by byte.
class DesktopEntryText {
public:
    /// More than any desktop writes; a longer file is none that anybody made for this.
    static constexpr qsizetype mostBytes = 64 * 1024;

    /// A group without keys.
    DesktopEntryText();

    /// None for what no desktop would read: too long, no UTF-8, a NUL, another group or a key
    /// first, a line without a key, a key that is there twice.
    static std::optional<DesktopEntryText> parse(const QByteArray& bytes);

    QByteArray bytes() const;

    /// In the order of the file.
    QStringList keys() const;

    /// None for a key that is not there, or whose value holds an unknown escape.
    std::optional<QString> string(QLatin1StringView key) const;

    /// None for a key that is not there or has another value.
    std::optional<bool> boolean(const QString& key) const;

    /// The words between semicolons; none for a key that is not there.
    std::optional<QStringList> list(QLatin1StringView key) const;

    /// In the place of the old value, or behind all other keys of the group.
    void setString(QLatin1StringView key, const QString& value);
    void setList(QLatin1StringView key, const QStringList& words);

    /// Does nothing for a key that is not there.
    void remove(const QString& key);

private:
    struct Line {
        QString text;
        QString key;   ///< empty for a line that is none of the group's
        QString value; ///< with its escapes
    };

    bool addLine(const QString& text);
    const Line* find(const QString& key) const;
    void set(const QString& key, const QString& value);

    std::vector<Line> m_lines;
    std::size_t m_groupEnd = 0; ///< one behind the last line of the group
    bool m_isInGroup = false;
};

/// The value of an Exec key that starts exactly this, before its escapes as a string.
QString execLine(const QStringList& arguments);

/// What an Exec line starts; none for one that is not well formed or has fields to fill in.
std::optional<QStringList> execArguments(const QString& line);

} // namespace lumivane
