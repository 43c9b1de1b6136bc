#pragma once

#include <QObject>

#include <functional>

class QGuiApplication;
class QSessionManager;

namespace lumivane {

/// Turns the end of the desktop's session into a call, as the session manager tells of it. Main
/// thread, one per process.
///
/// Lumivane has nothing to save and asks nothing, so it neither delays a logout nor cancels one.
/// One that somebody else cancels leaves it running: it stops when it is told to go, or when the
/// session manager itself has gone. Without a session manager nothing happens; then the session
/// ends with a signal, see TerminationSignals.
///
/// The session manager does not start it again by itself. That is the autostart entry's business.
class SessionEnd final : public QObject {
public:
    /// `onEnd` is called once, in a turn of the event loop, and stops the program.
    ///
    /// The toolkit tells the end as a `quit`, so the program itself ends its loop with `exit`: a
    /// `quit` of its own counts as the end of the session, until there has been one.
    SessionEnd(QGuiApplication& application, std::function<void()> onEnd);
    ~SessionEnd() override;

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    static void answer(QSessionManager& manager);
    void end();

    std::function<void()> m_onEnd;
    bool m_hasEnded = false;
};

} // namespace lumivane
