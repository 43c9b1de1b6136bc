#include "screen/TranscriptText.h"

#include "domain/Characters.h"

#include <QHash>
#include <QStringTokenizer>

#include <algorithm>

namespace lumivane::ScreenTextLayout {

namespace {

constexpr qsizetype narrowRun = 3; ///< the longest run of blanks that stands as it is
constexpr int blankLineCap = 2;

QString withoutDiscardables(QString text) {
    // Everything discardable is a single code unit, and none is half of a surrogate pair.
    const auto end = std::remove_if(text.begin(), text.end(),
                                    [](QChar unit) { return isDiscardable(unit.unicode()); });
    text.truncate(end - text.begin());
    return text;
}

void chopTrailingBlanks(QString& line) {
    while (line.endsWith(u' ') || line.endsWith(u'\t')) {
        line.chop(1);
    }
}

QString trimmedOfNewlines(QStringView text) {
    const auto isNewline = [](QChar unit) {
        return unit == QChar::LineFeed || unit == QChar::CarriageReturn;
    };
    while (!text.isEmpty() && isNewline(text.front())) {
        text = text.sliced(1);
    }
    while (!text.isEmpty() && isNewline(text.back())) {
        text.chop(1);
    }
    return text.toString();
}

void appendLine(QString& text, QStringView line, bool isFirst) {
    if (!isFirst) {
        text += u'\n';
    }
    text += line;
}

} // namespace

QString collapseRepeats(const QString& text) {
    QString output;
    output.reserve(text.size());
    QHash<QStringView, int> timesKept;
    QStringView last;
    bool isFirst = true;
    for (const QStringView line : QStringTokenizer(text, u'\n')) {
        if (!line.isEmpty()) {
            if ((!isFirst && line == last) || timesKept.value(line) >= repeatedLineCap) {
                continue;
            }
            ++timesKept[line];
        }
        appendLine(output, line, isFirst);
        last = line;
        isFirst = false;
    }
    return output;
}

QString normalize(const QString& text) {
    const QString clean = withoutDiscardables(text.normalized(QString::NormalizationForm_C));
    QString output;
    output.reserve(clean.size());
    int blankLines = 0;
    bool isFirst = true;
    for (const QStringView rawLine : QStringTokenizer(clean, u'\n')) {
        QString line = collapseWideRuns(rawLine);
        chopTrailingBlanks(line);
        blankLines = line.isEmpty() ? blankLines + 1 : 0;
        if (blankLines <= blankLineCap) {
            appendLine(output, line, isFirst);
            isFirst = false;
        }
    }
    return trimmedOfNewlines(output);
}

QString collapseWideRuns(QStringView line) {
    // By hand: a regular expression skips text with a lone half of a surrogate pair.
    QString output;
    output.reserve(line.size());
    qsizetype run = 0;
    for (const QChar unit : line) {
        const bool isBlank = unit == u' ' || unit == u'\t';
        run = isBlank ? run + 1 : 0;
        if (run <= narrowRun) {
            output += isBlank ? QChar(u' ') : unit;
        }
    }
    return output;
}

bool isDiscardable(char32_t scalar) {
    const auto isBetween = [scalar](char32_t first, char32_t last) {
        return first <= scalar && scalar <= last;
    };
    return isBetween(0x0000, 0x0008)    // control characters
           || isBetween(0x000B, 0x000C) // vertical tab, form feed
           || isBetween(0x000E, 0x001F) // control characters
           || isBetween(0x007F, 0x009F) // delete and the C1 controls
           || isBetween(0x200B, 0x200F) // zero-width spaces and marks
           || isBetween(0x2028, 0x202E) // separators, bidirectional embedding
           || isBetween(0x2060, 0x2064) // word joiner and invisible operators
           || scalar == 0xFEFF;         // byte order mark
}

QString marker(std::int64_t omitted) { return u"\n[… %1 characters omitted …]\n"_qs.arg(omitted); }

ScreenTextLayoutResult truncateMiddleOut(const QString& text) {
    const std::int64_t length = characterCount(text);
    if (length <= maximumCharacters) {
        return {text, false};
    }
    const auto budgetBeside = [](std::int64_t omitted) {
        return maximumCharacters - characterCount(marker(omitted));
    };
    // The count in the marker depends on the marker's own length.
    constexpr int attempts = 4;
    std::int64_t budget = budgetBeside(length - maximumCharacters);
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const std::int64_t next = budgetBeside(length - budget);
        if (next == budget) {
            break;
        }
        budget = next;
    }
    budget = std::max<std::int64_t>(budget, 2);
    const auto head = static_cast<std::int64_t>(static_cast<double>(budget) * headFraction);
    const std::int64_t tail = budget - head;
    QString kept = firstCharacters(text, head).toString();
    kept += marker(length - budget);
    kept += lastCharacters(text, tail);
    return {kept, true};
}

} // namespace lumivane::ScreenTextLayout
