#include "screen/ScreenTextLayout.h"

#include "domain/Characters.h"
#include "screen/TextColumns.h"
#include "screen/TextLines.h"
#include "screen/TranscriptText.h"

#include <QStringList>

#include <algorithm>

namespace lumivane::ScreenTextLayout {

namespace {

bool holdsLetterOrNumber(QStringView text) {
    for (qsizetype index = 0; index < text.size(); ++index) {
        char32_t scalar = text[index].unicode();
        if (text[index].isHighSurrogate() && index + 1 < text.size() &&
            text[index + 1].isLowSurrogate()) {
            scalar = QChar::surrogateToUcs4(text[index], text[index + 1]);
            ++index;
        }
        if (isLetterOrNumber(scalar)) {
            return true;
        }
    }
    return false;
}

bool carriesContent(QStringView text) {
    return holdsLetterOrNumber(text) || std::all_of(text.begin(), text.end(), [](QChar unit) {
               return unit.isSpace() || standalonePunctuation.contains(unit);
           });
}

QStringList renderFragmentColumns(const std::vector<FragmentRefs>& columns) {
    QStringList rendered;
    for (const FragmentRefs& column : columns) {
        rendered.append(renderBlocks(groupIntoLines(column)));
    }
    return rendered;
}

QStringList renderLineColumns(const FragmentRefs& fragments) {
    QStringList rendered;
    for (const std::vector<LayoutLine>& column : splitIntoColumns(groupIntoLines(fragments))) {
        rendered.append(renderBlocks(column));
    }
    return rendered;
}

} // namespace

std::vector<TextFragment> accepted(const std::vector<TextFragment>& fragments) {
    std::vector<TextFragment> result;
    result.reserve(fragments.size());
    for (const TextFragment& fragment : fragments) {
        if (!(fragment.confidence >= confidenceFloor)) {
            continue;
        }
        QString trimmed = fragment.text.trimmed();
        if (!trimmed.isEmpty() && carriesContent(trimmed)) {
            result.push_back({std::move(trimmed), fragment.confidence, fragment.box});
        }
    }
    return result;
}

ScreenTextLayoutResult transcript(const std::vector<TextFragment>& fragments) {
    const std::vector<TextFragment> kept = accepted(fragments);
    if (kept.empty()) {
        return {};
    }
    const std::vector<FragmentRefs> columns = splitFragmentsIntoColumns(references(kept));
    QStringList rendered =
        columns.size() > 1 ? renderFragmentColumns(columns) : renderLineColumns(columns.front());
    rendered.removeAll(QString());
    return truncateMiddleOut(normalize(collapseRepeats(rendered.join(u"\n\n"_qs))));
}

} // namespace lumivane::ScreenTextLayout
