#include "platform/linux/QuickPanelHost.h"

#include "platform/linux/PanelFocus.h"
#include "platform/linux/PanelShadow.h"
#include "platform/linux/PanelShape.h"
#include "platform/linux/PanelStacking.h"
#include "platform/linux/PanelView.h"
#include "platform/linux/StripPainter.h"
#include "platform/linux/ToolkitServer.h"

#include <QGuiApplication>
#include <QQuickWindow>
#include <QScreen>

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace lumivane {

namespace {

int toPixels(double points, double scale) { return static_cast<int>(std::lround(points * scale)); }

/// A colour as a window with room for opacity stores it.
std::uint32_t toPixel(const SrgbColor& color) {
    const auto channel = [](double value) {
        return static_cast<std::uint32_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
    };
    const double opacity = std::clamp(color.opacity, 0.0, 1.0);
    return channel(opacity) << 24 | channel(color.red * opacity) << 16 |
           channel(color.green * opacity) << 8 | channel(color.blue * opacity);
}

/// Where the desktop is gone.
class UnseenPanel final : public Panel {
public:
    void glide(const StripGlide& /*glide*/) override {}

    void stopGlide() override {}
};

} // namespace

/// What all panels share.
class QuickPanelHost::Core {
public:
    struct Place {
        QScreen* screen = nullptr;
        QRect area; ///< in the toolkit's own coordinates
    };

    Core(const DisplayServer& displays, const Clock& clock, QQmlEngine& engine,
         const CompositorWatch& compositor, const QByteArray& displayName)
        : displays(displays)
        , clock(clock)
        , engine(engine)
        , compositor(compositor)
        , displayName(displayName)
        , server(ToolkitServer::find()) {
        if (server) {
            focus.emplace(*server);
            stacking = std::make_unique<PanelStacking>(displayName, [this] { raisePanels(); });
        }
    }

    QQmlComponent& component(const QUrl& url);
    std::optional<Place> placeOf(const PanelRequest& request) const;

    const DisplayServer& displays;
    const Clock& clock;
    QQmlEngine& engine;
    const CompositorWatch& compositor;
    const QByteArray displayName;
    const std::unique_ptr<ToolkitServer> server; ///< null on other platforms
    std::optional<PanelFocus> focus;
    std::unique_ptr<PanelStacking> stacking;
    std::vector<OpenPanel*> panels; ///< those on screen, oldest first
    QObject views;                  ///< those that are closed and not gone yet included

private:
    QScreen* screenOf(std::uint32_t displayID, std::size_t index) const;
    void raisePanels();

    std::map<QUrl, std::unique_ptr<QQmlComponent>> m_components;
};

QQmlComponent& QuickPanelHost::Core::component(const QUrl& url) {
    auto& kept = m_components[url];
    if (!kept) {
        kept = std::make_unique<QQmlComponent>(&engine, url, QQmlComponent::PreferSynchronous);
    }
    return *kept;
}

std::optional<QuickPanelHost::Core::Place>
QuickPanelHost::Core::placeOf(const PanelRequest& request) const {
    std::vector<DisplayInfo> known;
    try {
        known = displays.displays();
    } catch (const DisplayServerError&) {
        return std::nullopt;
    }
    const auto display =
        std::find_if(known.begin(), known.end(), [&request](const DisplayInfo& candidate) {
            return candidate.displayID == request.displayID;
        });
    if (display == known.end()) {
        return std::nullopt;
    }
    QScreen* screen =
        screenOf(display->displayID, static_cast<std::size_t>(display - known.begin()));
    if (screen == nullptr) {
        return std::nullopt;
    }
    const Rect& frame = request.frame;
    const QPoint offset(toPixels(frame.minX() - display->frame.minX(), 1),
                        toPixels(display->frame.maxY() - frame.maxY(), 1));
    const QSize size(std::max(1, toPixels(frame.width, 1)), std::max(1, toPixels(frame.height, 1)));
    return Place{screen, QRect(screen->geometry().topLeft() + offset, size)};
}

QScreen* QuickPanelHost::Core::screenOf(std::uint32_t displayID, std::size_t index) const {
    const auto screens = QGuiApplication::screens();
    if (!server) {
        return index < static_cast<std::size_t>(screens.size())
                   ? screens[static_cast<qsizetype>(index)]
                   : QGuiApplication::primaryScreen();
    }
    const QString name = server->nameOf(displayID);
    const auto found = std::find_if(screens.begin(), screens.end(), [&name](const QScreen* screen) {
        return screen->name() == name;
    });
    return found == screens.end() ? QGuiApplication::primaryScreen() : *found;
}

class QuickPanelHost::OpenPanel final : public Panel {
public:
    OpenPanel(Core& core, const PanelRequest& request, const Core::Place& place,
              PanelContent content);
    ~OpenPanel() override;
    OpenPanel(const OpenPanel&) = delete;
    OpenPanel& operator=(const OpenPanel&) = delete;

    void glide(const StripGlide& glide) override;
    void stopGlide() override;

    void raise();

private:
    void dress();

    xcb_window_t window() { return static_cast<xcb_window_t>(m_view->window().winId()); }

    Core& m_core;
    const PanelRequest m_request;
    PanelView* m_view;  ///< deletes itself once it is closed
    double m_scale = 1; ///< pixels per point, for as long as the panel is up
    std::unique_ptr<PanelShadow> m_shadow;
    std::unique_ptr<StripPainter> m_painter;
    QMetaObject::Connection m_following;
};

QuickPanelHost::OpenPanel::OpenPanel(Core& core, const PanelRequest& request,
                                     const Core::Place& place, PanelContent content)
    : m_core(core)
    , m_request(request)
    , m_view(new PanelView(request, *place.screen, place.area, core.views))
    , m_scale(place.screen->devicePixelRatio()) {
    m_view->fill(core.component(content.view), std::move(content.model));
    if (core.server) {
        m_view->window().create();
        dress();
        m_following = QObject::connect(&core.compositor, &CompositorWatch::changed, m_view,
                                       [this] { dress(); });
    }
    m_view->window().show();
    if (!core.server) {
        return;
    }
    if (request.acceptsKeyboard) {
        core.focus->take(window());
    }
    core.panels.push_back(this);
    core.stacking->add(window());
    core.server->flush();
}

QuickPanelHost::OpenPanel::~OpenPanel() {
    QObject::disconnect(m_following);
    m_painter.reset();
    if (m_core.server) {
        std::erase(m_core.panels, this);
        m_core.stacking->remove(window());
        m_core.focus->giveBack(window());
        // The toolkit's own way to hide would tell the view, which is told nothing any more.
        m_core.server->unmap(window());
        m_shadow.reset();
        m_core.server->flush();
    } else {
        m_view->window().hide();
    }
    m_view->close();
}

void QuickPanelHost::Core::raisePanels() {
    for (OpenPanel* panel : panels) {
        panel->raise();
    }
    server->flush();
}

void QuickPanelHost::OpenPanel::raise() {
    m_core.server->raise(window());
    if (m_shadow) {
        m_core.server->lower(m_shadow->window(), window());
    }
}

/// Gives the window the edges that fit the desktop as it is now.
void QuickPanelHost::OpenPanel::dress() {
    const ToolkitServer& server = *m_core.server;
    const double radius = m_request.cornerRadius * m_scale;
    const auto area = server.areaOf(window());
    if (!area) {
        return;
    }
    m_shadow.reset();
    if (!m_core.compositor.isRunning()) {
        server.setOutline(window(), roundedParts(area->size(), radius));
    } else {
        server.clearOutline(window());
        if (m_request.hasShadow) {
            m_shadow = std::make_unique<PanelShadow>(server, window(), *area, radius, m_scale);
        }
    }
    server.flush();
}

void QuickPanelHost::OpenPanel::glide(const StripGlide& glide) {
    if (!m_core.server) {
        return;
    }
    const QPoint corner(toPixels(glide.strip.minX(), m_scale),
                        toPixels(glide.strip.minY(), m_scale));
    const QPoint end(toPixels(glide.strip.maxX(), m_scale), toPixels(glide.strip.maxY(), m_scale));
    const QRect area(corner, QSize(end.x() - corner.x(), end.y() - corner.y()));
    if (!m_painter) {
        m_painter = std::make_unique<StripPainter>(m_core.clock, m_core.displayName, window());
    }
    m_painter->start(
        {area, glide.fraction, glide.duration, toPixel(glide.fill), toPixel(glide.track)});
}

void QuickPanelHost::OpenPanel::stopGlide() {
    if (m_painter) {
        m_painter->stop();
    }
}

QuickPanelHost::QuickPanelHost(const DisplayServer& displays, const Clock& clock,
                               QQmlEngine& engine, const CompositorWatch& compositor,
                               const QByteArray& displayName) {
    if (QQuickWindow::sceneGraphBackend() != u"software"_qs) {
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    }
    // The toolkit's software drawing on a thread of its own hangs.
    qputenv("QSG_RENDER_LOOP", "basic");
    m_core = std::make_unique<Core>(displays, clock, engine, compositor, displayName);
}

QuickPanelHost::~QuickPanelHost() = default;

bool QuickPanelHost::prepare(const QUrl& view) { return m_core->component(view).isReady(); }

std::unique_ptr<Panel> QuickPanelHost::open(const PanelRequest& request, PanelContent content) {
    const auto place = m_core->placeOf(request);
    if (!place) {
        return std::make_unique<UnseenPanel>();
    }
    return std::make_unique<OpenPanel>(*m_core, request, *place, std::move(content));
}

} // namespace lumivane
