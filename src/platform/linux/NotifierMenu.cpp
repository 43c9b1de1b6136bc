#include "platform/linux/NotifierMenu.h"

#include <algorithm>
#include <utility>

namespace lumivane {

namespace {

bool isSeparator(const StatusMenuItem& item) { return item.title.isEmpty(); }

bool haveOneShape(const std::vector<StatusMenuItem>& left,
                  const std::vector<StatusMenuItem>& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](const StatusMenuItem& one, const StatusMenuItem& other) {
                          return isSeparator(one) == isSeparator(other);
                      });
}

bool looksLike(const StatusMenuItem& one, const StatusMenuItem& other) {
    return one.title == other.title && one.enabled == other.enabled;
}

QVariantMap propertiesOf(const StatusMenuItem& item) {
    if (isSeparator(item)) {
        return {{u"type"_qs, u"separator"_qs}};
    }
    // What a tray would take for the mark of an access key is a character of the title.
    return {{u"label"_qs, QString(item.title).replace(u'_', u"__"_qs)},
            {u"enabled"_qs, item.enabled}};
}

} // namespace

NotifierMenu::NotifierMenu(TrayEvents events, QObject* parent)
    : QDBusAbstractAdaptor(parent)
    , m_events(std::move(events))
    , m_items(m_events.menuItems()) {}

bool NotifierMenu::refresh() {
    auto items = m_events.menuItems();
    if (!haveOneShape(items, m_items)) {
        // Numbers of lines that are gone are never used again.
        m_firstID += static_cast<int>(m_items.size());
        m_items = std::move(items);
        Q_EMIT LayoutUpdated(++m_revision, 0);
        return true;
    }
    QList<NotifierMenuLine> updated;
    for (std::size_t line = 0; line < items.size(); ++line) {
        if (!looksLike(items[line], m_items[line])) {
            updated << NotifierMenuLine{idOf(line), propertiesOf(items[line])};
        }
    }
    m_items = std::move(items);
    if (!updated.isEmpty()) {
        ++m_revision;
        Q_EMIT ItemsPropertiesUpdated(updated, {});
    }
    return !updated.isEmpty();
}

const StatusMenuItem* NotifierMenu::itemOf(int id) const {
    const int line = id - m_firstID;
    return line >= 0 && line < static_cast<int>(m_items.size()) ? &m_items[line] : nullptr;
}

uint NotifierMenu::GetLayout(int parentID, int depth, const QStringList&,
                             NotifierMenuLayout& layout) {
    layout.id = parentID;
    if (parentID == 0) {
        layout.properties = {{u"children-display"_qs, u"submenu"_qs}};
        for (std::size_t line = 0; depth != 0 && line < m_items.size(); ++line) {
            layout.children << NotifierMenuLayout{idOf(line), propertiesOf(m_items[line]), {}};
        }
    } else if (const StatusMenuItem* item = itemOf(parentID)) {
        layout.properties = propertiesOf(*item);
    }
    return m_revision;
}

QList<NotifierMenuLine> NotifierMenu::GetGroupProperties(const QList<int>& ids,
                                                         const QStringList&) {
    QList<NotifierMenuLine> lines;
    for (std::size_t line = 0; line < m_items.size(); ++line) {
        if (ids.isEmpty() || ids.contains(idOf(line))) {
            lines << NotifierMenuLine{idOf(line), propertiesOf(m_items[line])};
        }
    }
    return lines;
}

QDBusVariant NotifierMenu::GetProperty(int id, const QString& name) {
    const StatusMenuItem* item = itemOf(id);
    const QVariant value = item != nullptr ? propertiesOf(*item).value(name) : QVariant();
    return QDBusVariant(value.isValid() ? value : QVariant(QString()));
}

void NotifierMenu::Event(int id, const QString& kind, const QDBusVariant&, uint) {
    if (kind == u"clicked"_qs) {
        choose(id);
    } else if (kind == u"opened"_qs && id == 0) {
        m_events.menuWillOpen();
    }
}

QList<int> NotifierMenu::EventGroup(const QList<NotifierMenuEvent>& events) {
    QList<int> unknown;
    for (const NotifierMenuEvent& event : events) {
        if (event.id != 0 && itemOf(event.id) == nullptr) {
            unknown << event.id;
        } else {
            Event(event.id, event.kind, event.data, event.timestamp);
        }
    }
    return unknown;
}

bool NotifierMenu::AboutToShow(int id) {
    if (id != 0) {
        return false;
    }
    m_events.menuWillOpen();
    return refresh();
}

QList<int> NotifierMenu::AboutToShowGroup(const QList<int>& ids, QList<int>& unknown) {
    QList<int> updated;
    for (const int id : ids) {
        if (id != 0 && itemOf(id) == nullptr) {
            unknown << id;
        } else if (AboutToShow(id)) {
            updated << id;
        }
    }
    return updated;
}

void NotifierMenu::choose(int id) {
    const StatusMenuItem* item = itemOf(id);
    // A copy: what is chosen may refresh the menu, or end it.
    const auto action = item != nullptr && item->enabled ? item->action : std::function<void()>();
    if (action) {
        action();
    }
}

} // namespace lumivane
