#pragma once

#include "overlays/OverlayPasteboard.h"
#include "platform/Announcer.h"
#include "platform/PanelHost.h"
#include "ui/identity/LumivaneTheme.h"

#include <QString>

#include <functional>

namespace lumivane::tools {

/// What the models of panels need and a picture does not.
struct ModelPorts {
    OverlayPasteboard& pasteboard;
    Announcer& announcer;
};

/// One panel in one state, to be taken a picture of.
struct Specimen {
    QString name; ///< "group/what-it-is", also the path of its picture without the ending
    PanelRequest request;
    std::function<PanelContent(const ModelPorts&)> makeContent;
    Appearance desktop = Appearance::dark; ///< what lies behind it
    bool reduceTransparency = false;
};

} // namespace lumivane::tools
