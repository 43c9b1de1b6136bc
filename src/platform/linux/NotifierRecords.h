#pragma once

#include <QByteArray>
#include <QDBusArgument>
#include <QDBusVariant>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

namespace lumivane {

// What status notifiers and their menus send over the bus, field by field as it travels.

struct NotifierPicture {
    int width = 0;
    int height = 0;
    QByteArray pixels; ///< alpha, red, green, blue, not premultiplied
};

using NotifierPictures = QList<NotifierPicture>;

struct NotifierToolTip {
    QString iconName;
    NotifierPictures pictures;
    QString title;
    QString text;
};

struct NotifierMenuLine {
    int id = 0;
    QVariantMap properties;
};

struct NotifierMenuLayout {
    int id = 0;
    QVariantMap properties;
    QList<NotifierMenuLayout> children;
};

/// Names of properties that a line has no longer.
struct NotifierMenuKeys {
    int id = 0;
    QStringList names;
};

struct NotifierMenuEvent {
    int id = 0;
    QString kind;
    QDBusVariant data;
    uint timestamp = 0;
};

QDBusArgument& operator<<(QDBusArgument& argument, const NotifierPicture& picture);
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierPicture& picture);
QDBusArgument& operator<<(QDBusArgument& argument, const NotifierToolTip& toolTip);
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierToolTip& toolTip);
QDBusArgument& operator<<(QDBusArgument& argument, const NotifierMenuLine& line);
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierMenuLine& line);
QDBusArgument& operator<<(QDBusArgument& argument, const NotifierMenuLayout& layout);
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierMenuLayout& layout);
QDBusArgument& operator<<(QDBusArgument& argument, const NotifierMenuKeys& keys);
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierMenuKeys& keys);
QDBusArgument& operator<<(QDBusArgument& argument, const NotifierMenuEvent& event);
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierMenuEvent& event);

/// Before anything of these is sent. Harmless when it has happened.
void registerNotifierRecords();

} // namespace lumivane

Q_DECLARE_METATYPE(lumivane::NotifierPicture)
Q_DECLARE_METATYPE(lumivane::NotifierToolTip)
Q_DECLARE_METATYPE(lumivane::NotifierMenuLine)
Q_DECLARE_METATYPE(lumivane::NotifierMenuLayout)
Q_DECLARE_METATYPE(lumivane::NotifierMenuKeys)
Q_DECLARE_METATYPE(lumivane::NotifierMenuEvent)
