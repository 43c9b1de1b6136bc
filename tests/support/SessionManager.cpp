#include "support/SessionManager.h"

#include <QSocketNotifier>

// Behind the toolkit's headers, whose words their macros take.
#include <X11/ICE/ICElib.h>
#include <X11/SM/SMlib.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

extern "C" int _IceTransNoListen(const char* protocol); // NOLINT(bugprone-reserved-identifier)

namespace lumivane::test {

namespace {

Bool trustEverybody(char* /*host*/) { return True; }

SessionManager& of(SmPointer data) { return *static_cast<SessionManager*>(data); }

void setProperties(SmsConn /*client*/, SmPointer data, int count, SmProp** properties) {
    for (int index = 0; index < count; ++index) {
        SmProp* property = properties[index];
        if (QByteArray(property->name) == SmRestartStyleHint && property->num_vals == 1) {
            of(data).restartHint = *static_cast<const unsigned char*>(property->vals[0].value);
        }
        SmFreeProperty(property);
    }
    std::free(static_cast<void*>(properties));
}

Status registerClient(SmsConn client, SmPointer /*data*/, char* previous) {
    std::free(previous);
    char identifier[] = "client-1";
    SmsRegisterClientReply(client, identifier);
    SmsSaveYourself(client, SmSaveLocal, False, SmInteractStyleNone, False);
    return True;
}

void completeSave(SmsConn client, SmPointer data, Bool /*success*/) {
    ++of(data).saves;
    SmsSaveComplete(client);
}

void closeConnection(SmsConn /*client*/, SmPointer data, int count, char** reasons) {
    ++of(data).farewells;
    SmFreeReasons(count, reasons);
}

} // namespace

struct SessionManager::Line {
    static Status welcome(SmsConn client, SmPointer data, unsigned long* mask,
                          SmsCallbacks* callbacks, char** reason);

    IceListenObj* listeners = nullptr;
    int listenerCount = 0;
    SmsConn client = nullptr;
    IceConn connection = nullptr;
};

SessionManager::SessionManager()
    : m_line(std::make_unique<Line>()) {
    std::array<char, 256> words{};
    const auto room = int(words.size());
    char vendor[] = "test";
    char release[] = "1";
    IceSetIOErrorHandler([](IceConn) {});
    _IceTransNoListen("tcp");
    if (SmsInitialize(vendor, release, &Line::welcome, this, trustEverybody, room, words.data()) ==
            0 ||
        IceListenForConnections(&m_line->listenerCount, &m_line->listeners, room, words.data()) ==
            0) {
        throw std::runtime_error(words.data());
    }
    char* address = IceComposeNetworkIdList(m_line->listenerCount, m_line->listeners);
    m_address = address;
    std::free(address);
    listen();
}

SessionManager::~SessionManager() {
    vanish();
    qDeleteAll(children());
    IceFreeListenObjs(m_line->listenerCount, m_line->listeners);
}

void SessionManager::listen() {
    for (int index = 0; index < m_line->listenerCount; ++index) {
        IceListenObj listener = m_line->listeners[index];
        IceSetHostBasedAuthProc(listener, trustEverybody);
        auto* notifier = new QSocketNotifier(IceGetListenConnectionNumber(listener),
                                             QSocketNotifier::Read, this);
        connect(notifier, &QSocketNotifier::activated, this, [this, index] { accept(index); });
    }
}

void SessionManager::accept(int listener) {
    IceAcceptStatus status = IceAcceptFailure;
    IceConn connection = IceAcceptConnection(m_line->listeners[listener], &status);
    if (connection == nullptr) {
        return;
    }
    m_line->connection = connection;
    auto* reader =
        new QSocketNotifier(IceConnectionNumber(connection), QSocketNotifier::Read, this);
    reader->setObjectName(u"reader"_qs);
    connect(reader, &QSocketNotifier::activated, this, [reader, connection] {
        if (IceProcessMessages(connection, nullptr, nullptr) != IceProcessMessagesSuccess) {
            reader->setEnabled(false);
        }
    });
}

Status SessionManager::Line::welcome(SmsConn client, SmPointer data, unsigned long* mask,
                                     SmsCallbacks* callbacks, char** /*reason*/) {
    of(data).m_line->client = client;
    *mask = SmsRegisterClientProcMask | SmsInteractRequestProcMask | SmsInteractDoneProcMask |
            SmsSaveYourselfRequestProcMask | SmsSaveYourselfP2RequestProcMask |
            SmsSaveYourselfDoneProcMask | SmsCloseConnectionProcMask | SmsSetPropertiesProcMask |
            SmsDeletePropertiesProcMask | SmsGetPropertiesProcMask;
    std::memset(callbacks, 0, sizeof *callbacks);
    callbacks->register_client = {&registerClient, data};
    callbacks->interact_request = {[](SmsConn, SmPointer own, int) { ++of(own).dialogs; }, data};
    callbacks->interact_done = {[](SmsConn, SmPointer, Bool) {}, data};
    callbacks->save_yourself_request = {[](SmsConn, SmPointer, int, Bool, int, Bool, Bool) {},
                                        data};
    callbacks->save_yourself_phase2_request = {
        [](SmsConn connection, SmPointer) { SmsSaveYourselfPhase2(connection); }, data};
    callbacks->save_yourself_done = {&completeSave, data};
    callbacks->close_connection = {&closeConnection, data};
    callbacks->set_properties = {&setProperties, data};
    callbacks->delete_properties = {
        [](SmsConn, SmPointer, int count, char** names) { SmFreeReasons(count, names); }, data};
    callbacks->get_properties = {
        [](SmsConn connection, SmPointer) { SmsReturnProperties(connection, 0, nullptr); }, data};
    return True;
}

void SessionManager::announceEnd() {
    SmsSaveYourself(m_line->client, SmSaveBoth, True, SmInteractStyleAny, False);
}

void SessionManager::cancelEnd() { SmsShutdownCancelled(m_line->client); }

void SessionManager::tellToGo() { SmsDie(m_line->client); }

void SessionManager::vanish() {
    qDeleteAll(findChildren<QSocketNotifier*>(u"reader"_qs));
    if (m_line->client != nullptr) {
        SmsCleanUp(m_line->client);
        m_line->client = nullptr;
    }
    if (m_line->connection != nullptr) {
        IceSetShutdownNegotiation(m_line->connection, False);
        IceCloseConnection(m_line->connection);
        m_line->connection = nullptr;
    }
}

} // namespace lumivane::test
