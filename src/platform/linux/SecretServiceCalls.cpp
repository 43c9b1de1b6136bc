#include "platform/linux/SecretServiceCalls.h"

#include "platform/linux/GioHandles.h"

#include <QByteArray>
#include <QFileInfo>

#include <libsecret/secret.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace lumivane::SecretServiceCalls {

namespace {

using Status = SecretItemStatus;

/// Ends a call with a status; caught where the call began.
struct Refusal {
    Status status;
};

/// Errors of the bus that mean that nobody is there to answer.
constexpr std::array nobodyThere{
    G_DBUS_ERROR_SERVICE_UNKNOWN, G_DBUS_ERROR_NAME_HAS_NO_OWNER,  G_DBUS_ERROR_NO_REPLY,
    G_DBUS_ERROR_NO_SERVER,       G_DBUS_ERROR_NO_NETWORK,         G_DBUS_ERROR_TIMEOUT,
    G_DBUS_ERROR_TIMED_OUT,       G_DBUS_ERROR_DISCONNECTED,       G_DBUS_ERROR_SPAWN_EXEC_FAILED,
    G_DBUS_ERROR_SPAWN_FAILED,    G_DBUS_ERROR_SPAWN_CHILD_EXITED,
};

Status statusOfServiceError(int code) {
    switch (code) {
    case SECRET_ERROR_IS_LOCKED:
        return Status::interactionNotAllowed;
    case SECRET_ERROR_NO_SUCH_OBJECT:
        return Status::itemNotFound;
    case SECRET_ERROR_ALREADY_EXISTS:
        return Status::duplicateItem;
    default:
        return Status::other;
    }
}

Status statusOf(const GError* error) {
    if (error == nullptr) {
        return Status::other;
    }
    if (error->domain == SECRET_ERROR) {
        return statusOfServiceError(error->code);
    }
    if (error->domain == G_DBUS_ERROR) {
        const bool isNobodyThere =
            std::find(nobodyThere.begin(), nobodyThere.end(), error->code) != nobodyThere.end();
        return isNobodyThere ? Status::unavailable : Status::other;
    }
    // Of the connection itself, the end of a call that took too long included; an error that the
    // service made up comes with a code of its own.
    const bool isOfConnection = error->domain == G_IO_ERROR && error->code != G_IO_ERROR_DBUS_ERROR;
    return isOfConnection ? Status::unavailable : Status::other;
}

void require(const GErrorSlot& error) {
    if (error.get() != nullptr) {
        throw Refusal{statusOf(error.get())};
    }
}

/// Without either, the library would start a bus of its own and leave it behind.
bool isSessionBusNamed() {
    const QByteArray folder = qgetenv("XDG_RUNTIME_DIR");
    return !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") ||
           (!folder.isEmpty() && QFileInfo::exists(QString::fromUtf8(folder) + u"/bus"_qs));
}

constexpr const char* schemaName = "com.marnoth.Lumivane.SecretItem";

SecretSchema makeSchema(SecretSchemaFlags flags) {
    SecretSchema schema{};
    schema.name = schemaName;
    schema.flags = flags;
    schema.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
    schema.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
    return schema;
}

const SecretSchema schema = makeSchema(SECRET_SCHEMA_NONE);

/// For a search. A keyring that has been locked since it came up does not know the schemas of its
/// items and would not find them by it.
const SecretSchema anySchema = makeSchema(SECRET_SCHEMA_DONT_MATCH_NAME);

/// The attributes by which an item is found.
class Attributes {
public:
    explicit Attributes(const SecretItemKey& key)
        : m_service(key.service.toUtf8())
        , m_account(key.account.toUtf8())
        , m_table(g_hash_table_new(g_str_hash, g_str_equal)) {
        g_hash_table_insert(m_table, const_cast<char*>("service"), m_service.data());
        g_hash_table_insert(m_table, const_cast<char*>("account"), m_account.data());
    }

    ~Attributes() { g_hash_table_unref(m_table); }

    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    GHashTable* table() const { return m_table; }

private:
    QByteArray m_service;
    QByteArray m_account;
    GHashTable* m_table;
};

struct SecretValueRelease {
    void operator()(SecretValue* value) const { secret_value_unref(value); }
};

/// The library keeps it in memory of its own, which it overwrites.
using SecretValuePointer = std::unique_ptr<SecretValue, SecretValueRelease>;

SecretValuePointer valueOf(const SecretText& data) {
    const QByteArrayView bytes = data.reveal();
    return SecretValuePointer(secret_value_new(bytes.data(), bytes.size(), "text/plain"));
}

using Items = std::vector<GObjectPointer<SecretItem>>;

bool isItemLocked(const GObjectPointer<SecretItem>& item) {
    return secret_item_get_locked(item.get()) == TRUE;
}

/// Another program may use the same two attributes. What a locked item is cannot be told.
bool isAnothers(const GObjectPointer<SecretItem>& item) {
    char* name = secret_item_get_schema_name(item.get());
    const bool isOurs = g_strcmp0(name, schemaName) == 0;
    g_free(name);
    return !isOurs && !isItemLocked(item);
}

/// The service for the length of one call.
class Connection {
public:
    explicit Connection(const std::stop_token& stop)
        : m_cancellation(stop) {
        if (!isSessionBusNamed()) {
            throw Refusal{Status::unavailable};
        }
        GErrorSlot busError;
        m_bus.reset(g_bus_get_sync(G_BUS_TYPE_SESSION, cancellable(), busError.out()));
        require(busError);
        // The library would end the process together with the bus.
        g_dbus_connection_set_exit_on_close(m_bus.get(), FALSE);
        GErrorSlot error;
        m_service.reset(secret_service_open_sync(
            SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_OPEN_SESSION, cancellable(), error.out()));
        require(error);
    }

    SecretService* service() const { return m_service.get(); }

    GCancellable* cancellable() const { return m_cancellation.get(); }

    Items search(const SecretItemKey& key, int moreFlags = SECRET_SEARCH_NONE) const {
        const Attributes attributes(key);
        const auto flags = static_cast<SecretSearchFlags>(SECRET_SEARCH_ALL | moreFlags);
        GErrorSlot error;
        GList* found = secret_service_search_sync(m_service.get(), &anySchema, attributes.table(),
                                                  flags, cancellable(), error.out());
        Items items;
        for (GList* entry = found; entry != nullptr; entry = entry->next) {
            items.emplace_back(static_cast<SecretItem*>(entry->data));
        }
        g_list_free(found);
        require(error);
        std::erase_if(items, isAnothers);
        return items;
    }

    /// Null when the user has none.
    GObjectPointer<SecretCollection> defaultCollection() const {
        GErrorSlot error;
        GObjectPointer<SecretCollection> collection(
            secret_collection_for_alias_sync(m_service.get(), SECRET_COLLECTION_DEFAULT,
                                             SECRET_COLLECTION_NONE, cancellable(), error.out()));
        require(error);
        return collection;
    }

private:
    // What goes first was made last.
    GioCancellation m_cancellation;
    GioThreadContext m_context;
    GObjectPointer<GDBusConnection> m_bus;
    GObjectPointer<SecretService> m_service;
};

bool isLocked(const GObjectPointer<SecretCollection>& collection) {
    return secret_collection_get_locked(collection.get()) == TRUE;
}

/// Some services hide what they hold for as long as they are locked.
bool mayHide(const GObjectPointer<SecretCollection>& collection) {
    GVariant* items = g_dbus_proxy_get_cached_property(G_DBUS_PROXY(collection.get()), "Items");
    const bool showsSome = items != nullptr && g_variant_n_children(items) > 0;
    if (items != nullptr) {
        g_variant_unref(items);
    }
    return isLocked(collection) && !showsSome;
}

/// Throws unless there are items and none is locked.
void requireSome(const Connection& connection, const Items& items) {
    if (items.empty()) {
        const auto collection = connection.defaultCollection();
        const bool isHidden = collection && mayHide(collection);
        throw Refusal{isHidden ? Status::interactionNotAllowed : Status::itemNotFound};
    }
    if (std::any_of(items.begin(), items.end(), isItemLocked)) {
        throw Refusal{Status::interactionNotAllowed};
    }
}

SecretItemCopy copy(const Connection& connection, const SecretItemKey& key) {
    const Items items = connection.search(key, SECRET_SEARCH_LOAD_SECRETS);
    requireSome(connection, items);
    // Of several with one key, which only another program can have made, it is always the same.
    const SecretValuePointer value(secret_item_get_secret(items.front().get()));
    if (!value) {
        return {Status::success, std::nullopt};
    }
    gsize size = 0;
    const char* bytes = secret_value_get(value.get(), &size);
    return {Status::success, SecretText(QByteArrayView(bytes, static_cast<qsizetype>(size)))};
}

void addItem(const Connection& connection, const SecretItemKey& key, const SecretText& data) {
    if (!connection.search(key).empty()) {
        throw Refusal{Status::duplicateItem};
    }
    const auto collection = connection.defaultCollection();
    if (!collection || isLocked(collection)) {
        throw Refusal{Status::interactionNotAllowed};
    }
    const Attributes attributes(key);
    const SecretValuePointer value = valueOf(data);
    const QByteArray label = key.service.toUtf8();
    GErrorSlot error;
    const GObjectPointer<SecretItem> item(secret_item_create_sync(
        collection.get(), &schema, attributes.table(), label.constData(), value.get(),
        SECRET_ITEM_CREATE_NONE, connection.cancellable(), error.out()));
    require(error);
}

void updateItem(const Connection& connection, const SecretItemKey& key, const SecretText& data) {
    const Items items = connection.search(key);
    requireSome(connection, items);
    const SecretValuePointer value = valueOf(data);
    GErrorSlot error;
    secret_item_set_secret_sync(items.front().get(), value.get(), connection.cancellable(),
                                error.out());
    require(error);
}

void removeItems(const Connection& connection, const SecretItemKey& key) {
    const Items items = connection.search(key);
    requireSome(connection, items);
    for (const auto& item : items) {
        GErrorSlot error;
        secret_item_delete_sync(item.get(), connection.cancellable(), error.out());
        require(error);
    }
}

struct Answer {
    GObjectPointer<GAsyncResult> result; ///< none until it is there
};

/// Owned by the call that it belongs to, which may outlive the wait.
using SharedAnswer = std::shared_ptr<Answer>;

void onReady(GObject* /*source*/, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<SharedAnswer> answer(static_cast<SharedAnswer*>(data));
    (*answer)->result.reset(static_cast<GAsyncResult*>(g_object_ref(result)));
}

void onCancelled(GCancellable* /*cancellable*/, gpointer context) {
    g_main_context_wakeup(static_cast<GMainContext*>(context));
}

/// Waits for a call that may ask the user. The library's own waits for such a call do not always
/// come back when it is cancelled, though they take the question away.
template <typename Start>
GObjectPointer<GAsyncResult> resultOf(const Connection& connection, Start start) {
    const auto answer = std::make_shared<Answer>();
    GMainContext* context = g_main_context_get_thread_default();
    GCancellable* cancellable = connection.cancellable();
    start(&onReady, new SharedAnswer(answer));
    const gulong handler =
        g_cancellable_connect(cancellable, G_CALLBACK(onCancelled), context, nullptr);
    while (!answer->result && g_cancellable_is_cancelled(cancellable) == FALSE) {
        g_main_context_iteration(context, TRUE);
    }
    g_cancellable_disconnect(cancellable, handler);
    if (!answer->result) {
        throw Refusal{Status::unavailable};
    }
    return std::move(answer->result);
}

void createCollection(const Connection& connection) {
    const auto result = resultOf(connection, [&](GAsyncReadyCallback callback, gpointer data) {
        secret_collection_create(connection.service(), "Login", SECRET_COLLECTION_DEFAULT,
                                 SECRET_COLLECTION_CREATE_NONE, connection.cancellable(), callback,
                                 data);
    });
    GErrorSlot error;
    const GObjectPointer<SecretCollection> collection(
        secret_collection_create_finish(result.get(), error.out()));
    require(error);
}

void unlockObjects(const Connection& connection, const std::vector<gpointer>& objects) {
    GList* list = nullptr;
    for (gpointer object : objects) {
        list = g_list_prepend(list, object);
    }
    const std::unique_ptr<GList, decltype(&g_list_free)> owner(list, &g_list_free);
    const auto result = resultOf(connection, [&](GAsyncReadyCallback callback, gpointer data) {
        secret_service_unlock(connection.service(), list, connection.cancellable(), callback, data);
    });
    GErrorSlot error;
    const int count =
        secret_service_unlock_finish(connection.service(), result.get(), nullptr, error.out());
    require(error);
    if (count < std::ssize(objects)) {
        throw Refusal{Status::interactionNotAllowed};
    }
}

void unlockWhatIsNeeded(const Connection& connection, const SecretItemKey& key) {
    const Items items = connection.search(key);
    std::vector<gpointer> locked;
    for (const auto& item : items) {
        if (isItemLocked(item)) {
            locked.push_back(item.get());
        }
    }
    const auto collection = connection.defaultCollection();
    if (items.empty() && !collection) {
        createCollection(connection);
    } else if (items.empty() && isLocked(collection)) {
        locked.push_back(collection.get());
    }
    if (!locked.empty()) {
        unlockObjects(connection, locked);
    }
}

/// Runs what uses a connection to its end, whatever comes in between.
template <typename Use>
SecretItemStatus statusAfter(const std::stop_token& stop, Use use) {
    try {
        const Connection connection(stop);
        use(connection);
        return Status::success;
    } catch (const Refusal& refusal) {
        return refusal.status;
    }
}

} // namespace

SecretItemCopy copyMatching(const SecretItemKey& key, const std::stop_token& stop) {
    SecretItemCopy result;
    result.status =
        statusAfter(stop, [&](const Connection& connection) { result = copy(connection, key); });
    return result;
}

SecretItemStatus add(const SecretItemKey& key, const SecretText& data,
                     const std::stop_token& stop) {
    return statusAfter(stop, [&](const Connection& connection) { addItem(connection, key, data); });
}

SecretItemStatus update(const SecretItemKey& key, const SecretText& data,
                        const std::stop_token& stop) {
    return statusAfter(stop,
                       [&](const Connection& connection) { updateItem(connection, key, data); });
}

SecretItemStatus remove(const SecretItemKey& key, const std::stop_token& stop) {
    return statusAfter(stop, [&](const Connection& connection) { removeItems(connection, key); });
}

SecretItemStatus unlock(const SecretItemKey& key, const std::stop_token& stop) {
    return statusAfter(stop,
                       [&](const Connection& connection) { unlockWhatIsNeeded(connection, key); });
}

} // namespace lumivane::SecretServiceCalls
