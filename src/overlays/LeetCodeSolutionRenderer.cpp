#include "overlays/LeetCodeSolutionRenderer.h"

#include "overlays/InlineMarkdown.h"

#include <QStringView>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace lumivane {

namespace {

using Weight = StyledRun::Weight;

constexpr QStringView titlePrefix = u"# ";
constexpr QStringView fence = u"```";
constexpr qsizetype bulletMarkLength = 2;

struct HeadingStyle {
    QStringView prefix;
    double scale;
    Weight weight;
    bool startsSection;
};

constexpr HeadingStyle headingStyles[] = {
    {u"### ", 1.12, Weight::bold, false},
    {u"## ", 1.28, Weight::bold, true},
    {titlePrefix, 1.5, Weight::heavy, true},
};

const HeadingStyle* headingStyle(QStringView line) {
    const auto* const found = std::ranges::find_if(
        headingStyles, [&](const HeadingStyle& style) { return line.startsWith(style.prefix); });
    return found == std::end(headingStyles) ? nullptr : found;
}

QString unixLines(QString text) { return text.replace(u"\r\n"_qs, u"\n"_qs).replace(u'\r', u'\n'); }

/// White space inside a line: a tab, or a separator of words.
bool isBlankLine(QStringView line) {
    return std::ranges::all_of(line, [](QChar character) {
        return character == u'\t' || character.category() == QChar::Separator_Space;
    });
}

/// Blank lines and headings wait until it is known whether something readable follows them.
class Scanner {
public:
    explicit Scanner(double baseSize)
        : m_baseSize(baseSize) {}

    void take(QStringView line) {
        const bool isFirst = !m_titleDropped && m_blocks.empty() && m_pending.empty();
        if (!m_inFence && isFirst && line.startsWith(titlePrefix)) {
            m_titleDropped = true; // the panel's header shows it
        } else if (!m_inFence && line.startsWith(LeetCodeSolutionRenderer::statusPrefix)) {
            return; // the chip in the header shows it
        } else if (line.startsWith(fence)) {
            toggleFence();
        } else if (!m_inFence) {
            takeProse(line);
        }
    }

    StyledText finish() {
        if (m_pendingHasHeading) {
            flush();
        }
        const auto first = std::ranges::find_if_not(
            m_blocks, [](const StyledText& block) { return block.isEmpty(); });
        StyledText text;
        for (auto block = first; block != m_blocks.end(); ++block) {
            if (block != first) {
                text.append(StyledRun{.text = u"\n"_qs});
            }
            text.append(std::move(*block));
        }
        return text;
    }

private:
    void toggleFence() {
        if (!m_inFence) {
            m_pending.clear();
            m_pendingHasHeading = false;
        }
        m_inFence = !m_inFence;
    }

    void takeProse(QStringView line) {
        if (const HeadingStyle* style = headingStyle(line)) {
            takeHeading(line.sliced(style->prefix.size()).toString(), *style);
        } else if (line.isEmpty()) {
            m_pending.emplace_back();
        } else {
            takeBody(line);
        }
    }

    void takeHeading(const QString& title, const HeadingStyle& style) {
        if (style.startsSection && !(m_blocks.empty() && m_pending.empty())) {
            m_pending.emplace_back();
        }
        StyledText heading = InlineMarkdown::parsed(title);
        for (StyledRun& run : heading.runs) {
            run.pointSize = m_baseSize * style.scale;
            run.weight = style.weight;
        }
        m_pending.push_back(std::move(heading));
        m_pendingHasHeading = true;
    }

    void takeBody(QStringView line) {
        flush();
        const bool isBullet = line.startsWith(u"- ") || line.startsWith(u"* ");
        StyledText block;
        if (isBullet) {
            block.append(StyledRun{.text = u"\u2022\u00A0"_qs});
            line = line.sliced(bulletMarkLength);
        }
        block.append(InlineMarkdown::parsed(line.toString()));
        m_blocks.push_back(std::move(block));
    }

    void flush() {
        std::ranges::move(m_pending, std::back_inserter(m_blocks));
        m_pending.clear();
        m_pendingHasHeading = false;
    }

    double m_baseSize;
    std::vector<StyledText> m_blocks;
    std::vector<StyledText> m_pending;
    bool m_pendingHasHeading = false;
    bool m_inFence = false;
    bool m_titleDropped = false;
};

} // namespace

StyledText LeetCodeSolutionRenderer::rendered(const QString& text, double baseSize) {
    const QString lines = unixLines(text);
    Scanner scanner(baseSize);
    for (const QStringView line : QStringView(lines).tokenize(u'\n')) {
        scanner.take(line);
    }
    return scanner.finish();
}

std::optional<QString> LeetCodeSolutionRenderer::leadingTitle(const QString& text) {
    const QString lines = QString(text).replace(u"\r\n"_qs, u"\n"_qs);
    for (const QStringView line : QStringView(lines).tokenize(u'\n')) {
        if (line.startsWith(titlePrefix)) {
            return line.sliced(titlePrefix.size()).toString();
        }
        if (!isBlankLine(line)) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

} // namespace lumivane
