#include "platform/linux/TextRuns.h"

#include "domain/Characters.h"

#include <QStringList>

#include <algorithm>

namespace lumivane {

namespace {

double medianCharacterWidth(const std::vector<RecognisedWord>& words) {
    std::vector<double> widths;
    for (const RecognisedWord& word : words) {
        const auto characters = static_cast<double>(characterCount(word.text));
        if (characters > 0) {
            widths.insert(widths.end(), static_cast<std::size_t>(characters),
                          word.box.width() / characters);
        }
    }
    if (widths.empty()) {
        return 0;
    }
    const auto middle = widths.begin() + static_cast<std::ptrdiff_t>(widths.size() / 2);
    std::nth_element(widths.begin(), middle, widths.end());
    return *middle;
}

Rect normalised(const QRect& box, QSize page) {
    const double width = page.width();
    const double height = page.height();
    return {box.x() / width, 1 - (box.y() + box.height()) / height, box.width() / width,
            box.height() / height};
}

/// Gathers words until the run is cut.
class RunBuilder {
public:
    void add(const RecognisedWord& word) {
        const auto characters = static_cast<double>(characterCount(word.text));
        m_words.append(word.text);
        m_box = m_box.united(word.box);
        m_characters += characters;
        m_weightedConfidence += word.confidence * characters;
    }

    bool isEmpty() const { return m_words.isEmpty(); }

    int right() const { return m_box.x() + m_box.width(); }

    RecognisedRun run(QSize page) const {
        const double mean = m_weightedConfidence / m_characters / 100;
        return {m_words.join(u' '), static_cast<float>(std::clamp(mean, 0.0, 1.0)),
                normalised(m_box, page)};
    }

private:
    QStringList m_words;
    QRect m_box;
    double m_characters = 0;
    double m_weightedConfidence = 0;
};

} // namespace

std::vector<RecognisedRun> textRuns(const std::vector<RecognisedWord>& line, QSize page) {
    const double wideGap = wideGapCharacterWidths * medianCharacterWidth(line);
    std::vector<RecognisedRun> runs;
    RunBuilder current;
    for (const RecognisedWord& word : line) {
        if (word.text.isEmpty()) {
            continue;
        }
        if (!current.isEmpty() && word.box.x() - current.right() > wideGap) {
            runs.push_back(current.run(page));
            current = {};
        }
        current.add(word);
    }
    if (!current.isEmpty()) {
        runs.push_back(current.run(page));
    }
    return runs;
}

} // namespace lumivane
