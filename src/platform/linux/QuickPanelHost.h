#pragma once

#include "async/Clock.h"
#include "platform/DisplayServer.h"
#include "platform/PanelHost.h"
#include "platform/linux/CompositorWatch.h"

#include <QByteArray>
#include <QQmlEngine>

#include <memory>

namespace lumivane {

/// Panels as windows of Qt Quick on X11, out of the window manager's reach.
///
/// With a compositor panels are see-through and cast a soft shadow; without one their outline is
/// cut to their rounded corners. Panels that are up follow a compositor that comes or goes. On a
/// platform of the toolkit other than X11 they are plain windows without any of it, and the
/// displays stand for the toolkit's screens in their order.
///
/// Make it before any other window of Qt Quick, since it chooses how the process draws: in
/// software and on the main thread. Its panels go before it. Main thread only.
class QuickPanelHost final : public PanelHost {
public:
    /// All of them outlive it. What views import is registered before the first panel.
    /// `displayName` is for painting beside the toolkit; empty: the environment's DISPLAY.
    QuickPanelHost(const DisplayServer& displays, const Clock& clock, QQmlEngine& engine,
                   const CompositorWatch& compositor, const QByteArray& displayName = {});
    ~QuickPanelHost() override;

    /// Compiles a view ahead of its first panel. False where it does not compile, which no view of
    /// the program does.
    bool prepare(const QUrl& view);

    std::unique_ptr<Panel> open(const PanelRequest& request, PanelContent content) override;

private:
    class Core;
    class OpenPanel;

    std::unique_ptr<Core> m_core;
};

} // namespace lumivane
