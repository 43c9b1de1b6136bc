#include "provisional/TextPanels.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QScreen>

#include <utility>

namespace lumivane {

namespace {

constexpr QSize workingSize{400, 112};
constexpr QSize messageSize{500, 250};
constexpr double errorSeconds = 20;

class Panel final : public QLabel {
public:
    Panel(const QString& text, QSize size, Qt::WindowFlags extraFlags)
        : QLabel(text, nullptr,
                 Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                     Qt::BypassWindowManagerHint | extraFlags) {
        setTextFormat(Qt::PlainText);
        setWordWrap(true);
        setMargin(18);
        setFixedSize(size);
        setAttribute(Qt::WA_ShowWithoutActivating);
        setStyleSheet(u"background: #1c1d1f; color: white; font-size: 14px;"_qs);
    }

    std::function<void()> onClick;

protected:
    void mouseReleaseEvent(QMouseEvent*) override {
        if (onClick) {
            const auto call = onClick; // it destroys this panel
            call();
        }
    }
};

} // namespace

TextPanels::TextPanels(const DisplayServer& displays, Clock& clock)
    : m_displays(displays)
    , m_clock(clock) {}

TextPanels::~TextPanels() = default;

void TextPanels::showWorking(std::uint32_t displayID, const AppSettings& settings) {
    m_working =
        std::make_unique<Panel>(u"Processing…"_qs, workingSize, Qt::WindowTransparentForInput);
    place(*m_working, displayID, settings.overlayPosition);
}

void TextPanels::markWorkingSlow() {
    if (m_working) {
        m_working->setText(u"Still thinking — this one is taking a while."_qs);
    }
}

void TextPanels::clearWorking() { m_working.reset(); }

void TextPanels::showResult(const QString& text, ResultKind, const std::optional<QString>&,
                            std::optional<LeetCodeAnswerStatus>, std::uint32_t displayID,
                            const AppSettings& settings, std::optional<bool>) {
    const auto seconds =
        settings.keepUntilDismissed ? std::nullopt : std::optional(settings.resultSeconds);
    showMessage(text, displayID, settings, seconds);
}

void TextPanels::showError(const QString& text, std::optional<std::uint32_t> displayID,
                           const AppSettings& settings) {
    showMessage(text, displayID, settings, errorSeconds);
}

void TextPanels::showNotesStatus(const QString& message, std::uint32_t displayID,
                                 const AppSettings& settings) {
    showMessage(message, displayID, settings, errorSeconds);
}

void TextPanels::showAuthenticationRequired(std::uint32_t displayID, const AppSettings& settings,
                                            std::function<void()>) {
    showMessage(u"Log in to Lumivane to analyze this screen."_qs, displayID, settings,
                std::nullopt);
}

void TextPanels::showDeviceEvicted(std::uint32_t displayID, DeviceEvictedOrigin,
                                   const AppSettings& settings, std::function<void()>) {
    showMessage(u"Lumivane is signed in on another Mac."_qs, displayID, settings, std::nullopt);
}

void TextPanels::clearAll() {
    clearWorking();
    clearMessage();
}

void TextPanels::showMessage(const QString& text, std::optional<std::uint32_t> displayID,
                             const AppSettings& settings, std::optional<double> seconds) {
    clearMessage();
    auto panel = std::make_unique<Panel>(text, messageSize, Qt::WindowFlags());
    panel->onClick = [this] { clearMessage(); };
    m_message = std::move(panel);
    place(*m_message, displayID, settings.overlayPosition);
    if (seconds) {
        m_messageTimer = m_clock.after(secondsToDuration(*seconds), [this] { clearMessage(); });
    }
}

void TextPanels::clearMessage() {
    m_messageTimer.reset();
    if (m_message) {
        m_message->hide();
        m_message.release()->deleteLater(); // its own click may be what closes it
    }
}

void TextPanels::place(QLabel& panel, std::optional<std::uint32_t> displayID,
                       OverlayPosition position) const {
    const QScreen* primary = QGuiApplication::primaryScreen();
    if (primary == nullptr) {
        return;
    }
    const QRect whole = primary->geometry();
    const double flip = whole.y() + whole.height();
    const Rect fallback{double(whole.x()), 0, double(whole.width()), double(whole.height())};
    const Rect frame =
        displayID ? m_displays.visibleFrame(*displayID).value_or(fallback) : fallback;
    constexpr double margin = 40;
    const double left[] = {frame.minX() + margin, frame.midX() - panel.width() / 2.0,
                           frame.maxX() - panel.width() - margin};
    const double top[] = {frame.maxY() - margin, frame.midY() + panel.height() / 2.0,
                          frame.minY() + panel.height() + margin};
    panel.move(int(left[horizontalIndex(position)]), int(flip - top[verticalIndex(position)]));
    panel.show();
}

} // namespace lumivane
