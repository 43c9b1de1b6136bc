#include "platform/linux/NotifierRecords.h"

#include <QDBusMetaType>

namespace lumivane {

namespace {

template <typename... Fields>
void write(QDBusArgument& argument, const Fields&... fields) {
    argument.beginStructure();
    (argument << ... << fields);
    argument.endStructure();
}

template <typename... Fields>
void read(const QDBusArgument& argument, Fields&... fields) {
    argument.beginStructure();
    (argument >> ... >> fields);
    argument.endStructure();
}

} // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const NotifierPicture& picture) {
    write(argument, picture.width, picture.height, picture.pixels);
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierPicture& picture) {
    read(argument, picture.width, picture.height, picture.pixels);
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const NotifierToolTip& toolTip) {
    write(argument, toolTip.iconName, toolTip.pictures, toolTip.title, toolTip.text);
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierToolTip& toolTip) {
    read(argument, toolTip.iconName, toolTip.pictures, toolTip.title, toolTip.text);
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const NotifierMenuLine& line) {
    write(argument, line.id, line.properties);
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierMenuLine& line) {
    read(argument, line.id, line.properties);
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const NotifierMenuLayout& layout) {
    argument.beginStructure();
    argument << layout.id << layout.properties;
    // Children travel wrapped, since the record's own type cannot stand inside itself.
    argument.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const NotifierMenuLayout& child : layout.children) {
        argument << QDBusVariant(QVariant::fromValue(child));
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierMenuLayout& layout) {
    argument.beginStructure();
    argument >> layout.id >> layout.properties;
    argument.beginArray();
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        layout.children << qdbus_cast<NotifierMenuLayout>(child.variant());
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const NotifierMenuKeys& keys) {
    write(argument, keys.id, keys.names);
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierMenuKeys& keys) {
    read(argument, keys.id, keys.names);
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const NotifierMenuEvent& event) {
    write(argument, event.id, event.kind, event.data, event.timestamp);
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierMenuEvent& event) {
    read(argument, event.id, event.kind, event.data, event.timestamp);
    return argument;
}

void registerNotifierRecords() {
    qDBusRegisterMetaType<NotifierPicture>();
    qDBusRegisterMetaType<NotifierPictures>();
    qDBusRegisterMetaType<NotifierToolTip>();
    qDBusRegisterMetaType<NotifierMenuLine>();
    qDBusRegisterMetaType<QList<NotifierMenuLine>>();
    qDBusRegisterMetaType<NotifierMenuLayout>();
    qDBusRegisterMetaType<NotifierMenuKeys>();
    qDBusRegisterMetaType<QList<NotifierMenuKeys>>();
    qDBusRegisterMetaType<NotifierMenuEvent>();
    qDBusRegisterMetaType<QList<NotifierMenuEvent>>();
    qDBusRegisterMetaType<QList<int>>();
}

} // namespace lumivane
