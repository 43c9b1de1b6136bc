#include "platform/linux/HostnameService.h"

#include "platform/linux/GioHandles.h"

namespace lumivane {

namespace {

struct VariantRelease {
    void operator()(GVariant* value) const { g_variant_unref(value); }
};

using VariantPointer = std::unique_ptr<GVariant, VariantRelease>;

GObjectPointer<GDBusConnection> connect(const QString& address, GCancellable* cancellable) {
    const auto flags =
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    GErrorSlot error;
    return GObjectPointer<GDBusConnection>(g_dbus_connection_new_for_address_sync(
        address.toUtf8().constData(), flags, nullptr, cancellable, error.out()));
}

} // namespace

QString usualSystemBusAddress() {
    GErrorSlot error;
    char* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, error.out());
    QString result = QString::fromUtf8(address);
    g_free(address);
    return result;
}

std::optional<QString> askPrettyHostname(const QString& busAddress, const std::stop_token& stop) {
    if (busAddress.isEmpty()) {
        return std::nullopt;
    }
    const GioCancellation cancellation(stop);
    const GioThreadContext context;
    const auto bus = connect(busAddress, cancellation.get());
    if (!bus) {
        return std::nullopt;
    }
    GErrorSlot error;
    const VariantPointer answer(g_dbus_connection_call_sync(
        bus.get(), "org.freedesktop.hostname1", "/org/freedesktop/hostname1",
        "org.freedesktop.DBus.Properties", "Get",
        g_variant_new("(ss)", "org.freedesktop.hostname1", "PrettyHostname"), G_VARIANT_TYPE("(v)"),
        G_DBUS_CALL_FLAGS_NONE, -1, cancellation.get(), error.out()));
    if (!answer) {
        return std::nullopt;
    }
    const VariantPointer boxed(g_variant_get_child_value(answer.get(), 0));
    const VariantPointer value(g_variant_get_variant(boxed.get()));
    if (g_variant_is_of_type(value.get(), G_VARIANT_TYPE_STRING) == FALSE) {
        return std::nullopt;
    }
    return QString::fromUtf8(g_variant_get_string(value.get(), nullptr));
}

} // namespace lumivane
