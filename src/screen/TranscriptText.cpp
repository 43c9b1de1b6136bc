#include "screen/TranscriptText.h"

#include "domain/Characters.h"

#include <QHash>
#include <QStringTokenizer>

#include <algorithm>

namespace lumivane::ScreenTextLayout {

namespace {

constexpr int blankLineCap = 2;

void dropDiscardables(QString& text) {
    // Everything discardable is a single code unit, and none is half of a surrogate pair.
    const auto end = std::remove_if(text.begin(), text.end(),
                                    [](QChar unit) { return isDiscardable(unit.unicode()); });
    text.truncate(end - text.begin());
}

bool isBlank(QChar unit) { return unit == u' ' || unit == u'\t'; }

/// Appends the line with its wide runs narrowed and without blanks at its end. By hand: a regular
/// expression skips text that holds a lone half of a surrogate pair.
void appendTidy(QString& text, QStringView line) {
    while (!line.isEmpty() && isBlank(line.back())) {
        line.chop(1);
    }
    qsizetype run = 0;
    for (const QChar unit : line) {
        run = isBlank(unit) ? run + 1 : 0;
        if (run <= wideGap.size()) {
            text += isBlank(unit) ? QChar(u' ') : unit;
        }
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

} // namespace

QString collapseRepeats(const QString& text) {
    QString output;
    output.reserve(text.size() + 1);
    QHash<QStringView, int> timesKept;
    QStringView last;
    for (const QStringView line : QStringTokenizer(text, u'\n')) {
        if (!line.isEmpty()) {
            if (line == last || timesKept.value(line) >= repeatedLineCap) {
                continue;
            }
            ++timesKept[line];
        }
        output += line;
        output += u'\n';
        last = line;
    }
    output.chop(1);
    return output;
}

QString normalize(QString text) {
    text = text.normalized(QString::NormalizationForm_C);
    dropDiscardables(text);
    QString output;
    output.reserve(text.size() + 1);
    int blankLines = 0;
    for (const QStringView line : QStringTokenizer(text, u'\n')) {
        const qsizetype begin = output.size();
        appendTidy(output, line);
        blankLines = output.size() == begin ? blankLines + 1 : 0;
        if (blankLines <= blankLineCap) {
            output += u'\n';
        }
    }
    return trimmedOfNewlines(output);
}

bool isDiscardable(char32_t scalar) {
    const auto isBetween = [scalar](char32_t first, char32_t last) {
        return first <= scalar && scalar <= last;
    };
    if (isBetween(u' ', u'~')) {
        return false; // nearly all of them, and the rest of the ranges need not be asked
    }
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
