#include "screen/ScreenTextLayout.h"

#include "domain/Characters.h"
#include "screen/TextColumns.h"
#include "screen/TextLines.h"
#include "screen/TranscriptText.h"

#include <QStringList>

#include <algorithm>
#include <utility>

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

/// The text as it goes on; empty when the fragment is no text.
QStringView acceptedText(const TextFragment& fragment) {
    if (!(fragment.confidence >= confidenceFloor)) {
        return {};
    }
    const QStringView trimmed = QStringView(fragment.text).trimmed();
    return carriesContent(trimmed) ? trimmed : QStringView();
}

std::vector<PlacedText> placed(const std::vector<TextFragment>& fragments) {
    std::vector<PlacedText> result;
    result.reserve(fragments.size());
    for (const TextFragment& fragment : fragments) {
        if (const QStringView text = acceptedText(fragment); !text.isEmpty()) {
            result.emplace_back(text, fragment.box);
        }
    }
    return result;
}

QString joinedColumns(QStringList rendered) {
    rendered.removeAll(QString());
    return rendered.join(u"\n\n"_qs);
}

QString renderFragmentColumns(std::vector<std::vector<PlacedText>> columns) {
    QStringList rendered;
    for (std::vector<PlacedText>& column : columns) {
        rendered.append(renderBlocks(groupIntoLines(std::move(column))));
    }
    return joinedColumns(std::move(rendered));
}

QString renderLineColumns(std::vector<PlacedText> fragments) {
    QStringList rendered;
    for (const std::vector<LayoutLine>& column :
         splitIntoColumns(groupIntoLines(std::move(fragments)))) {
        rendered.append(renderBlocks(column));
    }
    return joinedColumns(std::move(rendered));
}

} // namespace

std::vector<TextFragment> accepted(const std::vector<TextFragment>& fragments) {
    std::vector<TextFragment> result;
    result.reserve(fragments.size());
    for (const TextFragment& fragment : fragments) {
        if (const QStringView text = acceptedText(fragment); !text.isEmpty()) {
            result.push_back({text.toString(), fragment.confidence, fragment.box});
        }
    }
    return result;
}

ScreenTextLayoutResult transcript(const std::vector<TextFragment>& fragments) {
    // Every step hands its input on or lets it go: on pages that outgrow the cache, memory fresh
    // from the system costs as much as the work done in it.
    std::vector<PlacedText> kept = placed(fragments);
    if (kept.empty()) {
        return {};
    }
    auto columns = splitFragmentsIntoColumns(std::move(kept));
    QString text = columns.size() > 1 ? renderFragmentColumns(std::move(columns))
                                      : renderLineColumns(std::move(columns.front()));
    text = collapseRepeats(text);
    text = normalize(std::move(text));
    return truncateMiddleOut(text);
}

} // namespace lumivane::ScreenTextLayout
