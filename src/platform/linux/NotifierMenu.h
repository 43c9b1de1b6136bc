#pragma once

#include "platform/linux/NotifierRecords.h"
#include "platform/linux/TrayIcon.h"

#include <QDBusAbstractAdaptor>
#include <QDBusVariant>
#include <QObject>

#include <vector>

namespace lumivane {

/// The menu of an icon over the bus, as trays ask for it. A tray keeps a copy and knows each line
/// by a number, so a line keeps its number while only its words change: a click on it is never lost
/// to a refresh that crosses it on the way.
class NotifierMenu final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version)
    Q_PROPERTY(QString TextDirection READ textDirection)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath)

public:
    /// Belongs to `parent`, which is what is exported.
    NotifierMenu(TrayEvents events, QObject* parent);

    /// Takes over what the items are now, and tells of it. True when anything differs.
    bool refresh();

    uint version() const { return 3; }

    QString textDirection() const { return QStringLiteral("ltr"); }

    QString status() const { return QStringLiteral("normal"); }

    QStringList iconThemePath() const { return {}; }

    // The bus knows the types of what follows by the names that stand here.

public Q_SLOTS:
    uint GetLayout(int parentID, int depth, const QStringList& names,
                   lumivane::NotifierMenuLayout& layout);
    QList<lumivane::NotifierMenuLine> GetGroupProperties(const QList<int>& ids,
                                                         const QStringList& names);
    QDBusVariant GetProperty(int id, const QString& name);
    void Event(int id, const QString& kind, const QDBusVariant& data, uint timestamp);
    QList<int> EventGroup(const QList<lumivane::NotifierMenuEvent>& events);
    bool AboutToShow(int id);
    QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& unknown);

Q_SIGNALS:
    void LayoutUpdated(uint revision, int parentID);
    void ItemsPropertiesUpdated(const QList<lumivane::NotifierMenuLine>& updated,
                                const QList<lumivane::NotifierMenuKeys>& removed);
    void ItemActivationRequested(int id, uint timestamp);

private:
    const StatusMenuItem* itemOf(int id) const;

    int idOf(std::size_t line) const { return m_firstID + static_cast<int>(line); }

    void choose(int id);

    TrayEvents m_events;
    std::vector<StatusMenuItem> m_items;
    int m_firstID = 1; ///< 0 is the menu itself
    uint m_revision = 1;
};

} // namespace lumivane
