#include "overlay_views/ShownView.h"

#include "overlays/qml/OverlayViewsInstall.h"
#include "support/EventLoop.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQuickItemGrabResult>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <functional>

namespace lumivane::test {

namespace {

QQuickItem* firstBelow(QQuickItem* item, const std::function<bool(const QQuickItem&)>& matches) {
    if (matches(*item)) {
        return item;
    }
    for (QQuickItem* child : item->childItems()) {
        if (QQuickItem* found = firstBelow(child, matches)) {
            return found;
        }
    }
    return nullptr;
}

void walk(QAccessibleInterface* element, std::vector<SpokenElement>& spoken) {
    spoken.push_back({element->role(), element->text(QAccessible::Name),
                      element->text(QAccessible::Description)});
    for (int child = 0; child < element->childCount(); ++child) {
        walk(element->child(child), spoken);
    }
}

QAccessibleInterface* firstNamed(QAccessibleInterface* element, const QString& name) {
    if (element->text(QAccessible::Name) == name) {
        return element;
    }
    for (int child = 0; child < element->childCount(); ++child) {
        if (auto* found = firstNamed(element->child(child), name)) {
            return found;
        }
    }
    return nullptr;
}

/// The toolkit takes this once only.
void useTheSoftwareSceneGraph() {
    [[maybe_unused]] static const bool isChosen = [] {
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        return true;
    }();
}

} // namespace

ShownView::ShownView(const QUrl& view, std::shared_ptr<QObject> model, QSize size)
    : m_model(std::move(model))
    , m_engine(std::make_unique<QQmlEngine>()) {
    QAccessible::setActive(true);
    useTheSoftwareSceneGraph();
    OverlayViews::install(m_needs);
    m_engine->addImportPath(OverlayViews::importPath);
    QObject::connect(m_engine.get(), &QQmlEngine::warnings, [](const QList<QQmlError>& warnings) {
        for (const QQmlError& warning : warnings) {
            ADD_FAILURE() << warning.toString().toStdString();
        }
    });
    m_window = std::make_unique<QQuickWindow>();
    m_window->setColor(Qt::transparent);
    m_window->resize(size);
    QQmlComponent component(m_engine.get(), view);
    if (!component.isReady()) {
        throw std::runtime_error(component.errorString().toStdString());
    }
    QObject* object =
        component.createWithInitialProperties({{u"model"_qs, QVariant::fromValue(m_model.get())}});
    m_root = qobject_cast<QQuickItem*>(object);
    m_root->setParent(m_window.get());
    m_root->setParentItem(m_window->contentItem());
    m_root->setSize(size);
    m_window->show();
    m_window->requestActivate();
    EXPECT_TRUE(QTest::qWaitForWindowActive(m_window.get()));
    settle();
}

ShownView::~ShownView() {
    m_window.reset();
    m_engine.reset();
}

QQuickItem* ShownView::item(const QString& objectName) const {
    return firstBelow(
        m_root, [&](const QQuickItem& candidate) { return candidate.objectName() == objectName; });
}

QQuickItem* ShownView::itemOfType(const char* type) const {
    return firstBelow(m_root, [&](const QQuickItem& candidate) {
        return QByteArray(candidate.metaObject()->className()).startsWith(type);
    });
}

QQuickItem* ShownView::textItem(const QString& text) const {
    return firstBelow(m_root, [&](const QQuickItem& candidate) {
        return candidate.isVisible() && candidate.inherits("QQuickText") &&
               candidate.property("text").toString() == text;
    });
}

bool ShownView::shows(const QString& text) const { return textItem(text) != nullptr; }

QPoint ShownView::middle(const QQuickItem* item) const { return place(item).center().toPoint(); }

QRectF ShownView::place(const QQuickItem* item) const {
    return item->mapRectToScene(item->boundingRect());
}

void ShownView::click(QPoint point) {
    QTest::mouseClick(m_window.get(), Qt::LeftButton, {}, point);
    settle();
}

void ShownView::drag(QPoint from, QPoint to) {
    constexpr int steps = 8;
    QTest::mousePress(m_window.get(), Qt::LeftButton, {}, from);
    for (int step = 1; step <= steps; ++step) {
        QTest::mouseMove(m_window.get(), from + (to - from) * step / steps);
    }
    QTest::mouseRelease(m_window.get(), Qt::LeftButton, {}, to);
    settle();
}

void ShownView::turnWheel(QPoint point, int notches) {
    QWheelEvent event(point, m_window->mapToGlobal(point), {}, {0, 120 * notches}, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QGuiApplication::sendEvent(m_window.get(), &event);
    settle();
}

std::vector<SpokenElement> ShownView::spoken() const {
    std::vector<SpokenElement> elements;
    QAccessibleInterface* window = QAccessible::queryAccessibleInterface(m_window.get());
    for (int child = 0; child < window->childCount(); ++child) {
        walk(window->child(child), elements);
    }
    return elements;
}

QAccessibleInterface* ShownView::spokenElement(const QString& name) const {
    QAccessibleInterface* window = QAccessible::queryAccessibleInterface(m_window.get());
    for (int child = 0; child < window->childCount(); ++child) {
        if (auto* found = firstNamed(window->child(child), name)) {
            return found;
        }
    }
    return nullptr;
}

QImage ShownView::picture() const {
    const auto grab = m_root->grabToImage();
    bool isReady = false;
    QObject::connect(grab.get(), &QQuickItemGrabResult::ready, [&] { isReady = true; });
    EXPECT_TRUE(waitUntil([&] { return isReady; }));
    return grab->image().convertToFormat(QImage::Format_ARGB32);
}

void ShownView::settle() {
    drainEvents();
    bool isDrawn = false;
    const auto drawn = QObject::connect(m_window.get(), &QQuickWindow::frameSwapped,
                                        [&isDrawn] { isDrawn = true; });
    m_window->update();
    EXPECT_TRUE(waitUntil([&isDrawn] { return isDrawn; }));
    QObject::disconnect(drawn);
}

} // namespace lumivane::test
