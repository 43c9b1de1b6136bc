#pragma once

#include "overlay_views/ShownView.h"
#include "overlays/ResultOverlayModel.h"

#include <optional>
#include <utility>

namespace lumivane::test {

class KeptPasteboard final : public LumivanePasteboard {
public:
    std::int64_t changeCount() const override { return m_changes; }

    void clear() override { ++m_changes; }

    void setString(const QString& text, PasteboardType type) override {
        if (type == PasteboardType::string) {
            m_text = text;
        }
    }

    const QString& text() const { return m_text; }

private:
    std::int64_t m_changes = 0;
    QString m_text;
};

class KeptAnnouncements final : public Announcer {
public:
    void announce(const QString& text, AnnouncementPriority) override { m_texts.append(text); }

    const QStringList& texts() const { return m_texts; }

private:
    QStringList m_texts;
};

/// A result panel and what it did.
class ResultView {
public:
    explicit ResultView(ResultOverlayContent content, QSize size = {500, 250})
        : m_model(std::make_shared<ResultOverlayModel>(
              prepared(std::move(content)), m_state, m_copies, m_announcer,
              [this] { ++dismissals; }, [this](bool isOver) { hovers.push_back(isOver); }))
        , m_shown(OverlayViews::result(), m_model, size) {}

    ShownView& operator*() { return m_shown; }

    ShownView* operator->() { return &m_shown; }

    ResultOverlayModel& model() { return *m_model; }

    ResultOverlayState& state() { return *m_state; }

    const KeptPasteboard& pasteboard() const { return m_pasteboard; }

    const QStringList& announcements() const { return m_announcer.texts(); }

    int dismissals = 0;
    std::vector<bool> hovers;

private:
    /// A panel with a bar has its clock before it opens.
    ResultOverlayContent prepared(ResultOverlayContent content) {
        if (content.countdownSeconds) {
            m_state->beginCountdown(*content.countdownSeconds);
        }
        return content;
    }

    KeptPasteboard m_pasteboard;
    OverlayPasteboard m_copies{m_pasteboard};
    KeptAnnouncements m_announcer;
    std::shared_ptr<ResultOverlayState> m_state = std::make_shared<ResultOverlayState>();
    std::shared_ptr<ResultOverlayModel> m_model;
    ShownView m_shown;
};

inline ResultOverlayContent contentOf(const QString& text, ResultKind kind) {
    ResultOverlayContent content;
    content.text = text;
    content.kind = kind;
    return content;
}

/// Many paragraphs, more than any panel shows at once.
inline QString longAnswer(int paragraphs = 40) {
    QString text;
    for (int index = 0; index < paragraphs; ++index) {
        text += u"Paragraph %1 says a few words that fill about a line.\n"_qs.arg(index);
    }
    return text;
}

} // namespace lumivane::test
