#include "overlays/ResultFooterModel.h"

#include "telemetry/LumivaneLog.h"

#include <utility>

namespace lumivane {

ResultFooterModel::ResultFooterModel(QString hint, ResultCopyState copyState, QString answer,
                                     AppSettings settings, OverlayPasteboard& pasteboard,
                                     Announcer& announcer)
    : m_hint(std::move(hint))
    , m_copyState(copyState)
    , m_answer(std::move(answer))
    , m_settings(std::move(settings))
    , m_pasteboard(pasteboard)
    , m_announcer(announcer) {}

QString ResultFooterModel::buttonHelp() const {
    return m_didCopy ? ResultOverlayCopy::copiedToClipboard
                     : u"Copy the answer to the clipboard"_qs;
}

void ResultFooterModel::copy() {
    m_pasteboard.copy(m_answer, m_settings);
    if (!m_didCopy) {
        m_didCopy = true;
        Q_EMIT didCopyChanged();
    }
    m_announcer.announce(ResultOverlayCopy::copiedToClipboard, AnnouncementPriority::medium);
    LumivaneLog::overlay.info("Copied the result from the overlay footer");
}

} // namespace lumivane
