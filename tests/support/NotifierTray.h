#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QImage>
#include <QObject>
#include <QPoint>
#include <QStringList>
#include <QVariant>

#include <cstddef>
#include <memory>
#include <vector>

namespace lumivane::test {

/// A tray over the session bus: the watcher at which icons announce themselves, and the host that
/// shows them. It asks as a real one does, over the bus, and runs the event loop while it waits.
/// It leaves the bus with its object.
class NotifierTray final : public QObject {
    Q_OBJECT

public:
    enum class Host { absent, present };
    enum class Manner { answers, staysSilent };

    explicit NotifierTray(Host host = Host::present, Manner manner = Manner::answers);
    ~NotifierTray() override;

    /// The icons that announced themselves and are still on the bus.
    QStringList items() const;

    /// How often icons announced themselves.
    int announcements() const { return m_announcements; }

    /// Waits until there is one icon.
    bool waitForItem();

    /// A host joins the watcher, or leaves it.
    void setHost(Host host);

    /// Answers what has been asked silently so far, and everything from now on.
    void wakeUp();

    /// How many questions wait.
    std::size_t unansweredCount() const { return m_unanswered.size(); }

    // What the tray knows of its only icon, asked now.

    QVariant property(const QString& name);
    std::vector<QImage> pictures();
    QString toolTip();

    /// How often the icon told of a new picture.
    int newPictures() const { return m_newPictures; }

    /// How often the icon told of a new menu.
    int newMenus() const { return m_newMenus; }

    /// One line of the menu: its number, its words, and whether it can be chosen.
    struct Line {
        int id = 0;
        QString title; ///< empty for a separator
        bool enabled = true;
    };

    std::vector<Line> menu();

    // What a hand does at the icon.

    void primaryClick(const QPoint& position = {});

    /// For trays that leave the showing of the menu to the program.
    void askForMenu(const QPoint& position);

    /// Opens the menu as a tray does that shows it itself.
    std::vector<Line> openMenu();
    void announceOpening();
    void choose(int line);

    /// Any other call to the menu; throws std::runtime_error where it is refused.
    QVariantList callMenu(const QString& method, const QVariantList& arguments);

private:
    bool handle(const QDBusMessage& message);
    void answer(const QDBusMessage& question);

    Q_SLOT void noteNewPicture() { ++m_newPictures; }

    Q_SLOT void noteNewMenu() { ++m_newMenus; }

    Q_SLOT void followOwner(const QString& name, const QString& before, const QString& now);

    QDBusMessage call(const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments);
    QString menuPath();

    class Object;

    QDBusConnection m_bus;
    std::unique_ptr<Object> m_object;
    Host m_host;
    Manner m_manner;
    std::vector<QDBusMessage> m_unanswered;
    QStringList m_items;
    int m_announcements = 0;
    int m_newPictures = 0;
    int m_newMenus = 0;
};

} // namespace lumivane::test
