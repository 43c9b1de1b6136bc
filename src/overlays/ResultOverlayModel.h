#pragma once

#include "overlays/CountdownBarModel.h"
#include "overlays/NotesStatusModel.h"
#include "overlays/OverlaySurface.h"
#include "overlays/ResultFooterModel.h"
#include "overlays/ResultOverlayState.h"
#include "overlays/StyledText.h"
#include "ui/identity/LumivaneTheme.h"

#include <QColor>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>

namespace lumivane {

/// What a result panel is opened with.
struct ResultOverlayContent {
    QString text;
    ResultKind kind = ResultKind::text;
    std::optional<QString> questionTitle;
    std::optional<LeetCodeAnswerStatus> answerStatus;
    bool isError = false;
    AppSettings settings;
    std::optional<double> countdownSeconds; ///< of the bar; none: no bar
    bool copiedToClipboard = false;
};

/// Words, colours and sizes of a result or error panel; forwards what the user does to it. It
/// decides nothing about when the panel closes. Main thread only.
class ResultOverlayModel final : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isChoice READ isChoice CONSTANT)
    Q_PROPERTY(bool isLeetCode READ isLeetCode CONSTANT)
    Q_PROPERTY(bool isError READ isError CONSTANT)
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString spokenTitle READ spokenTitle CONSTANT)
    Q_PROPERTY(QString accessibilityHint READ accessibilityHint CONSTANT)
    Q_PROPERTY(QString remainingLabel READ remainingLabel NOTIFY remainingChanged)
    Q_PROPERTY(QString remainingAccessibilityLabel READ remainingAccessibilityLabel NOTIFY
                   remainingChanged)
    Q_PROPERTY(QString closeHelp READ closeHelp CONSTANT)
    Q_PROPERTY(QString heading READ heading CONSTANT)
    Q_PROPERTY(QString statusLabel READ statusLabel CONSTANT)
    Q_PROPERTY(QColor statusColor READ statusColor CONSTANT)
    Q_PROPERTY(QColor statusChipColor READ statusChipColor CONSTANT)
    Q_PROPERTY(QString notesFailure READ notesFailure NOTIFY notesFailureChanged)
    Q_PROPERTY(bool hasNotesFailure READ hasNotesFailure NOTIFY notesFailureChanged)
    Q_PROPERTY(QString notesFailureLabel READ notesFailureLabel CONSTANT)
    Q_PROPERTY(QString notesFailureSymbol READ notesFailureSymbol CONSTANT)
    Q_PROPERTY(QString notesDismissLabel READ notesDismissLabel CONSTANT)
    Q_PROPERTY(QString choice READ choice CONSTANT)
    Q_PROPERTY(QString passage READ passage CONSTANT)
    Q_PROPERTY(lumivane::StyledText renderedText READ renderedText CONSTANT)
    Q_PROPERTY(double answerSize READ answerSize CONSTANT)
    Q_PROPERTY(int answerWeight READ answerWeight CONSTANT)
    Q_PROPERTY(double answerLineSpacing READ answerLineSpacing CONSTANT)
    Q_PROPERTY(QColor foreground READ foreground CONSTANT)
    Q_PROPERTY(QColor codeBackground READ codeBackground CONSTANT)
    Q_PROPERTY(QColor outline READ outline CONSTANT)
    Q_PROPERTY(lumivane::CountdownBarModel* countdown READ countdown CONSTANT)
    Q_PROPERTY(lumivane::ResultFooterModel* footer READ footer CONSTANT)

public:
    /// Pasteboard and announcer outlive it. A tap that closes and the close button call
    /// `onDismiss`; `onHover` hears of each change of the pointer's presence.
    ResultOverlayModel(ResultOverlayContent content, std::shared_ptr<ResultOverlayState> state,
                       OverlayPasteboard& pasteboard, Announcer& announcer,
                       std::function<void()> onDismiss, std::function<void(bool)> onHover);

    bool isChoice() const { return m_content.kind == ResultKind::choice; }

    bool isLeetCode() const { return m_content.kind == ResultKind::leetCode; }

    bool isError() const { return m_content.isError; }

    QString title() const;
    QString spokenTitle() const;
    QString accessibilityHint() const;
    QString remainingLabel() const;
    QString remainingAccessibilityLabel() const;

    QString closeHelp() const { return u"Close LeetCode solution"_qs; }

    QString heading() const;

    /// Empty without a status.
    QString statusLabel() const;
    QColor statusColor() const;
    QColor statusChipColor() const;

    QString notesFailure() const { return m_state->notesFailure().value_or(QString()); }

    bool hasNotesFailure() const { return m_state->notesFailure().has_value(); }

    /// For assistive technology.
    const QString& notesFailureLabel() const { return NotesFailureWords::label; }

    const QString& notesFailureSymbol() const { return NotesFailureWords::symbol; }

    const QString& notesDismissLabel() const { return NotesFailureWords::dismissLabel; }

    /// What a panel of that kind shows of the answer: its letters on one line, or its words.
    QString choice() const;
    QString passage() const;

    /// What a LeetCode panel shows of the answer.
    StyledText renderedText() const;

    /// Points; the weight on the field's scale of 1 to 1000; the extra space between lines.
    double answerSize() const;
    int answerWeight() const;
    double answerLineSpacing() const;

    QColor foreground() const;
    QColor codeBackground() const;
    QColor outline() const;
    Q_INVOKABLE QColor surface(bool reduceTransparency) const;

    /// None without a bar.
    CountdownBarModel* countdown() const { return m_countdown.get(); }

    ResultFooterModel* footer() const { return m_footer.get(); }

    /// A tap anywhere on the panel; one on a LeetCode panel is for selecting text.
    Q_INVOKABLE void tap();
    Q_INVOKABLE void dismiss();
    Q_INVOKABLE void hover(bool isOver);
    Q_INVOKABLE void dismissNotesFailure();

Q_SIGNALS:
    void remainingChanged();
    void notesFailureChanged();

private:
    SrgbColor foregroundColor() const;
    Appearance appearance() const;

    ResultOverlayContent m_content;
    std::shared_ptr<ResultOverlayState> m_state;
    OverlaySurface m_surface;
    std::unique_ptr<CountdownBarModel> m_countdown;
    std::unique_ptr<ResultFooterModel> m_footer;
    std::function<void()> m_onDismiss;
    std::function<void(bool)> m_onHover;
};

} // namespace lumivane
