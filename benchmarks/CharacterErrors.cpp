#include "CharacterErrors.h"

#include <algorithm>
#include <vector>

namespace lumivane::bench {

namespace {

constexpr int unreachable = 1 << 20;

/// Stands where a line has claimed its stretch; nothing matches or steps over it.
constexpr char16_t claimed = u'\uFFFF';

struct Stretch {
    qsizetype begin = 0;
    qsizetype end = 0;
    int distance = unreachable;
};

/// One cell of the distance table: the best way to get there and where it began.
struct Cell {
    int distance = 0;
    qsizetype begin = 0;

    Cell plus(int cost) const { return {distance + cost, begin}; }
};

const Cell& nearer(const Cell& left, const Cell& right) {
    return right.distance < left.distance ? right : left;
}

bool matches(QChar known, QChar read) { return known == read || (known == u' ' && read == u'\n'); }

bool beginsLine(const QString& text, qsizetype at) { return at == 0 || text[at - 1] == u'\n'; }

/// Sentences may stand on a page twice: of equally near stretches one that begins a line is right.
bool isBetter(const Stretch& candidate, const Stretch& best, const QString& text) {
    if (candidate.distance != best.distance) {
        return candidate.distance < best.distance;
    }
    return beginsLine(text, candidate.begin) && !beginsLine(text, best.begin);
}

/// The stretch of `text` nearest to `line`; it may begin and end anywhere, and be empty.
Stretch nearestStretch(const QString& line, const QString& text) {
    std::vector<Cell> row(static_cast<std::size_t>(line.size()) + 1);
    for (std::size_t i = 0; i < row.size(); ++i) {
        row[i] = {static_cast<int>(i), 0};
    }
    Stretch best{0, 0, row.back().distance};
    for (qsizetype at = 0; at < text.size(); ++at) {
        const int extraCost = text[at] == claimed ? unreachable : 1;
        Cell diagonal = row[0];
        row[0] = {0, at + 1};
        for (std::size_t i = 1; i < row.size(); ++i) {
            const bool isSame = matches(line[static_cast<qsizetype>(i) - 1], text[at]);
            const Cell exchanged = diagonal.plus(isSame ? 0 : extraCost);
            const Cell next = nearer(nearer(exchanged, row[i].plus(extraCost)), row[i - 1].plus(1));
            diagonal = row[i];
            row[i] = next;
        }
        const Stretch candidate{row.back().begin, at + 1, row.back().distance};
        if (isBetter(candidate, best, text)) {
            best = candidate;
        }
    }
    return best;
}

QString simplifiedLines(const QString& text) {
    QStringList lines;
    for (const QString& line : text.split(u'\n', Qt::SkipEmptyParts)) {
        lines.append(line.simplified());
    }
    return lines.join(u'\n');
}

qsizetype countUnclaimed(const QString& text) {
    return std::count_if(text.begin(), text.end(), [](QChar character) {
        return character != QChar(claimed) && !character.isSpace();
    });
}

} // namespace

double characterErrorRate(const QStringList& known, const QString& read) {
    QStringList lines;
    for (const QString& line : known) {
        lines.append(line.simplified());
    }
    std::stable_sort(lines.begin(), lines.end(), [](const QString& left, const QString& right) {
        return left.size() > right.size();
    });
    QString rest = simplifiedLines(read);
    qsizetype errors = 0;
    qsizetype characters = 0;
    for (const QString& line : lines) {
        const Stretch stretch = nearestStretch(line, rest);
        errors += stretch.distance;
        characters += line.size();
        rest.replace(stretch.begin, stretch.end - stretch.begin, QString(1, QChar(claimed)));
    }
    errors += countUnclaimed(rest);
    return characters == 0 ? 0 : static_cast<double>(errors) / static_cast<double>(characters);
}

} // namespace lumivane::bench
