#include "overlays/InlineMarkdown.h"

#include "overlays/MarkdownEntity.h"

#include <QByteArray>
#include <QStringView>

#include <md4c.h>

#include <optional>
#include <utility>

namespace lumivane {

namespace {

// The parser knows whole documents only. A heading of one line holds inline markup and nothing
// else, and with a tail it has no end that the heading's own rules could strip.
constexpr QByteArrayView headingStart = "# ";
constexpr QByteArrayView tailMarkup = " .";
constexpr QStringView tailText = u" .";

// The parser pairs tildes in quadratic time, which a line with more of them does not get to see.
constexpr qsizetype strikethroughMarkLimit = 200;

bool isBlank(QChar character) { return character == u' ' || character == u'\t'; }

/// Gathers what the parser reports as runs. Spans of one sort can lie in one another.
class RunCollector {
public:
    void enter(MD_SPANTYPE span) { count(span, 1); }

    void leave(MD_SPANTYPE span) { count(span, -1); }

    void add(MD_TEXTTYPE type, QByteArrayView text) {
        StyledRun run;
        run.text = characters(type, text);
        run.isStrong = m_strong > 0;
        run.isEmphasized = m_emphasis > 0;
        run.isCode = m_code > 0;
        run.isStruckThrough = m_strikethrough > 0;
        m_text.append(std::move(run));
    }

    StyledText take() { return std::move(m_text); }

private:
    static QString characters(MD_TEXTTYPE type, QByteArrayView text) {
        switch (type) {
        case MD_TEXT_NULLCHAR:
            return QString(QChar(QChar::ReplacementCharacter));
        case MD_TEXT_ENTITY:
            return markdownEntity(text);
        default:
            return QString::fromUtf8(text);
        }
    }

    void count(MD_SPANTYPE span, int change) {
        switch (span) {
        case MD_SPAN_STRONG:
            m_strong += change;
            break;
        case MD_SPAN_EM:
            m_emphasis += change;
            break;
        case MD_SPAN_CODE:
            m_code += change;
            break;
        case MD_SPAN_DEL:
            m_strikethrough += change;
            break;
        default:
            break; // of a link or an image only the text is kept
        }
    }

    StyledText m_text;
    int m_strong = 0;
    int m_emphasis = 0;
    int m_code = 0;
    int m_strikethrough = 0;
};

RunCollector& collector(void* context) { return *static_cast<RunCollector*>(context); }

MD_PARSER inlineParser(QStringView content) {
    const bool seesStrikethrough = content.count(u'~') <= strikethroughMarkLimit;
    MD_PARSER parser{};
    parser.flags = seesStrikethrough ? MD_FLAG_STRIKETHROUGH : 0U;
    parser.enter_block = [](MD_BLOCKTYPE, void*, void*) { return 0; };
    parser.leave_block = [](MD_BLOCKTYPE, void*, void*) { return 0; };
    parser.enter_span = [](MD_SPANTYPE span, void*, void* context) {
        collector(context).enter(span);
        return 0;
    };
    parser.leave_span = [](MD_SPANTYPE span, void*, void* context) {
        collector(context).leave(span);
        return 0;
    };
    parser.text = [](MD_TEXTTYPE type, const MD_CHAR* text, MD_SIZE size, void* context) {
        collector(context).add(type, QByteArrayView(text, qsizetype(size)));
        return 0;
    };
    return parser;
}

bool removeTail(StyledText& text) {
    if (text.isEmpty() || !text.runs.back().text.endsWith(tailText)) {
        return false;
    }
    text.runs.back().text.chop(tailText.size());
    if (text.runs.back().text.isEmpty()) {
        text.runs.pop_back();
    }
    return true;
}

/// None where the parser fails. `content` neither starts nor ends with a blank.
std::optional<StyledText> parsedContent(QStringView content) {
    QByteArray document;
    document.append(headingStart).append(content.toUtf8()).append(tailMarkup);
    const MD_PARSER parser = inlineParser(content);
    RunCollector runs;
    if (md_parse(document.constData(), MD_SIZE(document.size()), &parser, &runs) != 0) {
        return std::nullopt;
    }
    StyledText text = runs.take();
    return removeTail(text) ? std::optional(std::move(text)) : std::nullopt;
}

StyledText plain(const QString& line) {
    StyledText text;
    text.append(StyledRun{.text = line});
    return text;
}

} // namespace

StyledText InlineMarkdown::parsed(const QString& line) {
    qsizetype start = 0;
    qsizetype end = line.size();
    while (start < end && isBlank(line[start])) {
        ++start;
    }
    while (end > start && isBlank(line[end - 1])) {
        --end;
    }
    if (start == end || line.contains(u'\n') || line.contains(u'\r')) {
        return plain(line);
    }
    const auto content = parsedContent(QStringView(line).mid(start, end - start));
    if (!content) {
        return plain(line);
    }
    StyledText text = plain(line.left(start));
    text.append(*content);
    text.append(StyledRun{.text = line.mid(end)});
    return text;
}

} // namespace lumivane
