#include "notes/NoteMarkup.h"

#include <QLatin1String>
#include <QList>

#include <optional>

namespace lumivane {

namespace {

enum class ListTag { none, unordered, ordered };

/// A line as a list item: its tag and what follows the marker.
struct Item {
    ListTag tag = ListTag::none;
    QStringView text;
};

/// Takes the next line off `rest`, which is empty-handed (none) after the last.
class LineReader {
public:
    explicit LineReader(QStringView text)
        : m_rest(text) {}

    std::optional<QStringView> next() {
        if (!m_rest) {
            return std::nullopt;
        }
        const QStringView text = *m_rest;
        qsizetype end = 0;
        while (end < text.size() && text[end] != u'\n' && text[end] != u'\r') {
            ++end;
        }
        if (end == text.size()) {
            m_rest.reset();
        } else {
            const bool isPair = text.mid(end, 2) == u"\r\n";
            m_rest = text.mid(end + (isPair ? 2 : 1));
        }
        return text.left(end);
    }

private:
    std::optional<QStringView> m_rest;
};

/// How many code units the scalar at `offset` takes when it is a decimal digit of any script; else
/// none. By hand, since the library's expressions refuse a whole line for half a pair in it.
qsizetype digitUnits(QStringView line, qsizetype offset) {
    const QStringView rest = line.mid(offset, 2);
    if (rest.size() == 2 && rest[0].isHighSurrogate() && rest[1].isLowSurrogate()) {
        return QChar::isDigit(QChar::surrogateToUcs4(rest[0], rest[1])) ? 2 : 0;
    }
    return !rest.isEmpty() && rest[0].isDigit() ? 1 : 0;
}

std::optional<QStringView> textAfterNumber(QStringView line) {
    qsizetype end = 0;
    while (const qsizetype units = digitUnits(line, end)) {
        end += units;
    }
    if (end == 0 || !line.mid(end).startsWith(u". ")) {
        return std::nullopt;
    }
    return line.mid(end + 2);
}

Item item(QStringView line) {
    if (line.startsWith(u"- ") || line.startsWith(u"* ")) {
        return {ListTag::unordered, line.mid(2)};
    }
    if (const auto text = textAfterNumber(line)) {
        return {ListTag::ordered, *text};
    }
    return {};
}

QLatin1String entity(QChar unit) {
    switch (unit.unicode()) {
    case u'&':
        return QLatin1String("&amp;");
    case u'<':
        return QLatin1String("&lt;");
    case u'>':
        return QLatin1String("&gt;");
    case u'"':
        return QLatin1String("&quot;");
    case u'\'':
        return QLatin1String("&#39;");
    default:
        return {};
    }
}

// Replacements in place move the rest of a text again and again, so escaping appends.
void appendEscaped(QString& output, QStringView text) {
    qsizetype begin = 0;
    for (qsizetype index = 0; index < text.size(); ++index) {
        const QLatin1String replacement = entity(text[index]);
        if (!replacement.isEmpty()) {
            output += text.mid(begin, index - begin);
            output += replacement;
            begin = index + 1;
        }
    }
    output += text.mid(begin);
}

void appendInline(QString& output, QStringView text) {
    const QList<QStringView> parts = text.split(u"**"_qs);
    if (parts.size() < 3 || parts.size() % 2 == 0) {
        appendEscaped(output, text);
        return;
    }
    for (qsizetype index = 0; index < parts.size(); ++index) {
        const bool isStrong = index % 2 == 1;
        output += isStrong ? QLatin1String("<strong>") : QLatin1String();
        appendEscaped(output, parts[index]);
        output += isStrong ? QLatin1String("</strong>") : QLatin1String();
    }
}

/// Renders line after line; `finish` hands out what came of them.
class Renderer {
public:
    explicit Renderer(qsizetype expectedSize) { m_output.reserve(expectedSize); }

    void add(QStringView line) {
        if (line.startsWith(u"```")) {
            toggleFence();
        } else if (m_code) {
            appendCode(line);
        } else {
            addText(line);
        }
    }

    QString finish() {
        open(ListTag::none);
        emitCode();
        return std::move(m_output);
    }

private:
    void toggleFence() {
        open(ListTag::none);
        if (m_code) {
            emitCode();
        } else {
            m_code.emplace();
        }
    }

    void appendCode(QStringView line) {
        if (m_hasCodeLines) {
            *m_code += u'\n';
        }
        m_hasCodeLines = true;
        appendEscaped(*m_code, line);
    }

    void emitCode() {
        if (m_code) {
            m_output += u"<pre><code>";
            m_output += *m_code;
            m_output += u"</code></pre>";
            m_code.reset();
            m_hasCodeLines = false;
        }
    }

    void addText(QStringView line) {
        const Item found = item(line);
        open(found.tag);
        if (found.tag != ListTag::none) {
            addElement("li", found.text);
        } else if (line.startsWith(u"### ")) {
            addElement("h3", line.mid(4));
        } else if (line.startsWith(u"## ")) {
            addElement("h2", line.mid(3));
        } else if (line.startsWith(u"# ")) {
            addElement("h1", line.mid(2));
        } else if (line.isEmpty()) {
            m_output += u"<br>";
        } else {
            addElement("p", line);
        }
    }

    /// Closes the open list and opens one of `tag`, unless that is the open one.
    void open(ListTag tag) {
        if (tag == m_open) {
            return;
        }
        if (m_open != ListTag::none) {
            m_output += m_open == ListTag::unordered ? u"</ul>" : u"</ol>";
        }
        if (tag != ListTag::none) {
            m_output += tag == ListTag::unordered ? u"<ul>" : u"<ol>";
        }
        m_open = tag;
    }

    void addElement(const char* tag, QStringView text) {
        const QLatin1String name(tag);
        m_output += u'<';
        m_output += name;
        m_output += u'>';
        appendInline(m_output, text);
        m_output += u"</";
        m_output += name;
        m_output += u'>';
    }

    QString m_output;
    std::optional<QString> m_code; ///< escaped; present inside a fence
    bool m_hasCodeLines = false;
    ListTag m_open = ListTag::none;
};

} // namespace

QString NoteMarkup::html(const LeetCodeNote& note) { return renderMarkdown(note.markdown); }

QString NoteMarkup::renderMarkdown(QStringView text) {
    Renderer renderer(text.size() + text.size() / 4);
    LineReader lines(text);
    while (const auto line = lines.next()) {
        renderer.add(*line);
    }
    return renderer.finish();
}

QString NoteMarkup::renderInline(QStringView text) {
    QString output;
    appendInline(output, text);
    return output;
}

QString NoteMarkup::escapeHTML(QStringView text) {
    QString output;
    output.reserve(text.size());
    appendEscaped(output, text);
    return output;
}

} // namespace lumivane
