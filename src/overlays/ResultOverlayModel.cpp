#include "overlays/ResultOverlayModel.h"

#include "overlays/LeetCodeSolutionRenderer.h"
#include "overlays/ShownAnswer.h"
#include "ui/identity/PaintColor.h"

#include <QFont>

#include <utility>

namespace lumivane {

namespace {

constexpr double choiceSize = 64;
constexpr double answersSize = 22;
constexpr double textLineSpacing = 0.35; ///< of the size
constexpr SrgbColor white{1, 1, 1, 1};
constexpr SrgbColor errorOutline{1, 0, 0, 0.7};
constexpr SrgbColor panelOutline{1, 1, 1, 0.12};
constexpr SrgbColor noOutline{0, 0, 0, 0};

} // namespace

ResultOverlayModel::ResultOverlayModel(ResultOverlayContent content,
                                       std::shared_ptr<ResultOverlayState> state,
                                       OverlayPasteboard& pasteboard, Announcer& announcer,
                                       std::function<void()> onDismiss,
                                       std::function<void(bool)> onHover)
    : m_content(std::move(content))
    , m_state(std::move(state))
    , m_surface{m_content.settings, m_content.isError}
    , m_onDismiss(std::move(onDismiss))
    , m_onHover(std::move(onHover)) {
    if (m_content.countdownSeconds) {
        m_countdown = std::make_unique<CountdownBarModel>(*m_content.countdownSeconds,
                                                          foregroundColor(), m_state);
    }
    // What really happened on this run, which may differ from what the settings ask for.
    const auto delivered = m_content.copiedToClipboard ? DeliveryMode::both : DeliveryMode::screen;
    m_footer = std::make_unique<ResultFooterModel>(
        ResultOverlayCopy::dismissalHint(m_content.kind, m_content.isError,
                                         m_content.settings.dismissWithEscape),
        resolveCopyState(delivered, m_content.isError), m_content.text, m_content.settings,
        pasteboard, announcer);
    // Behind the tick that changes them: laying out a label costs a hundred times what a tick may.
    connect(m_state.get(), &ResultOverlayState::secondsRemainingChanged, this,
            &ResultOverlayModel::remainingChanged, Qt::QueuedConnection);
    connect(m_state.get(), &ResultOverlayState::notesFailureChanged, this,
            &ResultOverlayModel::notesFailureChanged);
}

QString ResultOverlayModel::title() const {
    return ResultOverlayCopy::title(m_content.kind, m_content.isError);
}

QString ResultOverlayModel::spokenTitle() const {
    return ResultOverlayCopy::spokenTitle(m_content.kind, m_content.isError);
}

QString ResultOverlayModel::accessibilityHint() const {
    if (!isLeetCode()) {
        return {};
    }
    return m_content.settings.dismissWithEscape
               ? u"Scrollable and selectable. Press Escape, or use the close button, to close."_qs
               : u"Scrollable and selectable. Use the close button to close."_qs;
}

QString ResultOverlayModel::remainingLabel() const {
    return ResultOverlayCopy::remainingLabel(m_state->secondsRemaining());
}

QString ResultOverlayModel::remainingAccessibilityLabel() const {
    return ResultOverlayCopy::remainingAccessibilityLabel(m_state->secondsRemaining());
}

QString ResultOverlayModel::heading() const {
    if (m_content.questionTitle) {
        return *m_content.questionTitle;
    }
    return LeetCodeSolutionRenderer::leadingTitle(m_content.text).value_or(u"LeetCode solution"_qs);
}

QString ResultOverlayModel::statusLabel() const {
    return m_content.answerStatus ? label(*m_content.answerStatus) : QString();
}

QColor ResultOverlayModel::statusColor() const {
    const ThemeColor& color = m_content.answerStatus == LeetCodeAnswerStatus::memoryValidated
                                  ? LumivaneTheme::overlayStatusOk
                                  : LumivaneTheme::overlayStatusPending;
    return paintColor(color.resolved(appearance()));
}

QColor ResultOverlayModel::statusChipColor() const {
    return paintColor(LumivaneTheme::overlayStatusChip.resolved(appearance()));
}

QString ResultOverlayModel::choice() const { return ShownAnswer::line(m_content.text); }

QString ResultOverlayModel::passage() const {
    return ShownAnswer::passage(m_content.text).plainText();
}

StyledText ResultOverlayModel::renderedText() const {
    return ShownAnswer::passage(LeetCodeSolutionRenderer::rendered(
        m_content.text, pointSize(m_content.settings.overlayTextSize)));
}

double ResultOverlayModel::answerSize() const {
    switch (m_content.kind) {
    case ResultKind::choice:
        return choiceSize;
    case ResultKind::answers:
        return answersSize;
    case ResultKind::leetCode:
        return pointSize(m_content.settings.overlayTextSize);
    case ResultKind::text:
        break;
    }
    return m_content.isError ? pointSize(m_content.settings.overlayTextSize)
                             : answerPointSize(m_content.settings.overlayTextSize);
}

int ResultOverlayModel::answerWeight() const {
    switch (m_content.kind) {
    case ResultKind::choice:
        return QFont::ExtraBold;
    case ResultKind::answers:
        return QFont::Bold;
    case ResultKind::leetCode:
        return QFont::Medium;
    case ResultKind::text:
        break;
    }
    return QFont::DemiBold;
}

double ResultOverlayModel::answerLineSpacing() const {
    return m_content.kind == ResultKind::text ? answerSize() * textLineSpacing : 0;
}

QColor ResultOverlayModel::foreground() const { return paintColor(foregroundColor()); }

QColor ResultOverlayModel::codeBackground() const {
    return paintColor(LumivaneTheme::overlayCodeBackground.resolved(appearance()));
}

QColor ResultOverlayModel::outline() const {
    if (m_content.isError) {
        return paintColor(errorOutline);
    }
    return paintColor(drawsPanelChrome(m_content.settings.overlayBackground) ? panelOutline
                                                                             : noOutline);
}

QColor ResultOverlayModel::surface(bool reduceTransparency) const {
    return paintColor(m_surface.painted(reduceTransparency));
}

void ResultOverlayModel::tap() {
    if (!isLeetCode()) {
        dismiss();
    }
}

void ResultOverlayModel::dismiss() {
    if (m_onDismiss) {
        m_onDismiss();
    }
}

void ResultOverlayModel::hover(bool isOver) {
    if (m_onHover) {
        m_onHover(isOver);
    }
}

void ResultOverlayModel::dismissNotesFailure() { m_state->setNotesFailure(std::nullopt); }

SrgbColor ResultOverlayModel::foregroundColor() const {
    return m_content.isError ? white : m_content.settings.overlayForeground();
}

Appearance ResultOverlayModel::appearance() const {
    return m_content.settings.useDarkAppearance ? Appearance::dark : Appearance::light;
}

} // namespace lumivane
