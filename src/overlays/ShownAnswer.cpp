#include "overlays/ShownAnswer.h"

#include <algorithm>

namespace lumivane {

namespace {

constexpr QChar embeddedObject(QChar::ObjectReplacementCharacter);

bool breaksLine(QChar character) {
    return character == u'\n' || character == u'\r' || character == QChar::LineSeparator ||
           character == QChar::ParagraphSeparator;
}

/// Takes text in, character by character, for as long as there is room.
class Page {
public:
    /// Not all that was given had room.
    bool isCut() const { return m_isCut; }

    /// As much of `text` as there is room for.
    QString take(const QString& text) {
        QString taken;
        taken.reserve(std::min(text.size(), ShownAnswer::mostCharacters));
        m_lastBlank = -1;
        for (const QChar character : text) {
            const bool isSecondHalf = character.isLowSurrogate() && !taken.isEmpty();
            if (isFull() && !isSecondHalf) {
                m_isCut = true;
                break;
            }
            if (m_lineLength >= ShownAnswer::longestLine && !breaksLine(character) &&
                !isSecondHalf) {
                breakLine(taken);
            }
            add(taken, character);
        }
        return taken;
    }

private:
    bool isFull() const {
        return m_characters >= ShownAnswer::mostCharacters || m_lines >= ShownAnswer::mostLines;
    }

    void add(QString& taken, QChar character) {
        if (character == u' ') {
            m_lastBlank = taken.size();
        }
        taken += character == embeddedObject ? QChar(QChar::ReplacementCharacter) : character;
        ++m_characters;
        ++m_lineLength;
        if (breaksLine(character)) {
            beginLine();
        }
    }

    void breakLine(QString& taken) {
        if (m_lastBlank >= 0) {
            const qsizetype rest = taken.size() - m_lastBlank - 1;
            taken[m_lastBlank] = u'\n';
            beginLine();
            m_lineLength = rest;
        } else {
            taken += u'\n';
            beginLine();
        }
    }

    void beginLine() {
        ++m_lines;
        m_lineLength = 0;
        m_lastBlank = -1;
    }

    qsizetype m_characters = 0;
    qsizetype m_lines = 0;
    qsizetype m_lineLength = 0;
    bool m_isCut = false;
    qsizetype m_lastBlank = -1; ///< of this line, in what is taken now
};

} // namespace

StyledText ShownAnswer::passage(const StyledText& text) {
    StyledText shown;
    Page page;
    for (const StyledRun& run : text.runs) {
        StyledRun taken = run;
        taken.text = page.take(run.text);
        if (page.isCut()) {
            taken.text += u'…';
        }
        shown.append(std::move(taken));
        if (page.isCut()) {
            break;
        }
    }
    return shown;
}

StyledText ShownAnswer::passage(const QString& text) {
    return passage(StyledText{{StyledRun{.text = text}}});
}

QString ShownAnswer::line(const QString& text) {
    QString shown = text.trimmed();
    std::replace_if(shown.begin(), shown.end(), breaksLine, u' ');
    return shown;
}

} // namespace lumivane
