#include "platform/linux/ApplicationObject.h"

#include "support/EventLoop.h"
#include "support/PrivateBus.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QVariantMap>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace lumivane::test {

namespace {

const QString refused = u"org.freedesktop.DBus.Error.InvalidArgs"_qs;

} // namespace

class ApplicationObjectTest : public testing::Test {
protected:
    ApplicationObjectTest() {
        m_object.emplace([this](const QStringList& urls) { m_requests.push_back(urls); });
        EXPECT_TRUE(m_server.registerVirtualObject(ApplicationObject::path(), &*m_object));
    }

    ~ApplicationObjectTest() override { m_server.unregisterObject(ApplicationObject::path()); }

    QDBusMessage call(const QString& method, const QVariantList& arguments,
                      const QString& interface = ApplicationObject::interfaceName()) {
        QDBusMessage message = QDBusMessage::createMethodCall(
            m_server.baseService(), ApplicationObject::path(), interface, method);
        message.setArguments(arguments);
        const QDBusPendingCall pending = m_caller.asyncCall(message);
        EXPECT_TRUE(waitUntil([&] { return pending.isFinished(); }));
        drainEvents();
        return pending.reply();
    }

    QString errorOf(const QString& method, const QVariantList& arguments) {
        return call(method, arguments).errorName();
    }

    PrivateBus m_bus;
    QDBusConnection m_server = m_bus.connect();
    QDBusConnection m_caller = m_bus.connect();
    std::vector<QStringList> m_requests;
    std::optional<ApplicationObject> m_object;
};

TEST_F(ApplicationObjectTest, ActivateAsksToComeForward) {
    EXPECT_EQ(errorOf(u"Activate"_qs, {QVariantMap()}), QString());
    EXPECT_EQ(errorOf(u"Activate"_qs, {QVariantMap{{u"desktop-startup-id"_qs, u"x"_qs}}}),
              QString());
    EXPECT_EQ(m_requests, (std::vector<QStringList>{{}, {}}));
}

TEST_F(ApplicationObjectTest, OpenHandsOverTheAddressesAsTheyAre) {
    const QStringList urls{u"a:%C3%A9?b=c+d&e"_qs, u"\U0001F600\u202E"_qs, u"not an address"_qs};
    EXPECT_EQ(errorOf(u"Open"_qs, {urls, QVariantMap()}), QString());
    EXPECT_EQ(m_requests, (std::vector<QStringList>{urls}));
}

TEST_F(ApplicationObjectTest, NoAddressIsNothingToDo) {
    EXPECT_EQ(errorOf(u"Open"_qs, {QStringList(), QVariantMap()}), QString());
    EXPECT_TRUE(m_requests.empty());
}

TEST_F(ApplicationObjectTest, TheLimitsAreMet) {
    const QStringList most(16, QString(8192, u'a'));
    EXPECT_EQ(errorOf(u"Open"_qs, {most, QVariantMap()}), QString());
    EXPECT_EQ(m_requests, (std::vector<QStringList>{most}));
    m_requests.clear();
    EXPECT_EQ(errorOf(u"Open"_qs, {QStringList(17, u"a"_qs), QVariantMap()}), refused);
    EXPECT_EQ(errorOf(u"Open"_qs, {QStringList(QString(8193, u'a')), QVariantMap()}), refused);
    EXPECT_EQ(errorOf(u"Open"_qs, {QStringList{u"a"_qs, QString()}, QVariantMap()}), refused);
    EXPECT_EQ(errorOf(u"Open"_qs, {QStringList(10000, u"a"_qs), QVariantMap()}), refused);
    EXPECT_EQ(errorOf(u"Open"_qs, {QStringList(QString(10 * 1024 * 1024, u'a')), QVariantMap()}),
              refused);
    EXPECT_TRUE(m_requests.empty());
}

TEST_F(ApplicationObjectTest, ActionsAreIgnored) {
    EXPECT_EQ(errorOf(u"ActivateAction"_qs, {u"quit"_qs, QVariantList(), QVariantMap()}),
              QString());
    EXPECT_TRUE(m_requests.empty());
}

TEST_F(ApplicationObjectTest, WrongSignaturesAreRefused) {
    for (const QVariantList& arguments :
         {QVariantList{}, {u"a"_qs}, {1}, {QVariantMap(), 1}, {QStringList()}}) {
        EXPECT_EQ(errorOf(u"Activate"_qs, arguments), refused);
    }
    for (const QVariantList& arguments : {QVariantList{},
                                          {QVariantMap()},
                                          {QStringList(u"a"_qs)},
                                          {u"a"_qs, QVariantMap()},
                                          {QVariantMap(), QStringList(u"a"_qs)},
                                          {QStringList(u"a"_qs), QVariantMap(), 1},
                                          {QVariantList{1}, QVariantMap()}}) {
        EXPECT_EQ(errorOf(u"Open"_qs, arguments), refused);
    }
    EXPECT_EQ(errorOf(u"ActivateAction"_qs, {u"quit"_qs}), refused);
    EXPECT_TRUE(m_requests.empty());
}

TEST_F(ApplicationObjectTest, UnknownMethodsAndInterfacesAreRefusedByName) {
    EXPECT_NE(errorOf(u"Quit"_qs, {}), QString());
    EXPECT_NE(errorOf(u"activate"_qs, {QVariantMap()}), QString());
    EXPECT_NE(call(u"Activate"_qs, {QVariantMap()}, u"com.marnoth.Other"_qs).errorName(),
              QString());
    EXPECT_TRUE(m_requests.empty());
}

TEST_F(ApplicationObjectTest, ACallerThatWantsNoAnswerGetsNone) {
    QDBusMessage message =
        QDBusMessage::createMethodCall(m_server.baseService(), ApplicationObject::path(),
                                       ApplicationObject::interfaceName(), u"Activate"_qs);
    message << QVariantMap();
    ASSERT_TRUE(m_caller.send(message));
    EXPECT_TRUE(waitUntil([this] { return m_requests.size() == 1; }));
}

TEST_F(ApplicationObjectTest, TellsWhatItOffers) {
    const QString xml = call(u"Introspect"_qs, {}, u"org.freedesktop.DBus.Introspectable"_qs)
                            .arguments()
                            .value(0)
                            .toString();
    QXmlStreamReader reader(xml);
    QStringList methods;
    QString interface;
    while (!reader.atEnd()) {
        reader.readNext();
        const QString name = reader.attributes().value(u"name"_qs).toString();
        if (reader.isStartElement() && reader.name() == u"interface"_qs) {
            interface = name;
        } else if (reader.isStartElement() && reader.name() == u"method"_qs &&
                   interface == ApplicationObject::interfaceName()) {
            methods << name;
        }
    }
    EXPECT_FALSE(reader.hasError());
    EXPECT_EQ(methods, QStringList({u"Activate"_qs, u"Open"_qs, u"ActivateAction"_qs}));
}

TEST_F(ApplicationObjectTest, ARequestMayEndTheObject) {
    int requests = 0;
    m_server.unregisterObject(ApplicationObject::path());
    m_object.emplace([&](const QStringList&) {
        ++requests;
        m_server.unregisterObject(ApplicationObject::path());
        m_object.reset();
    });
    ASSERT_TRUE(m_server.registerVirtualObject(ApplicationObject::path(), &*m_object));
    QDBusMessage message =
        QDBusMessage::createMethodCall(m_server.baseService(), ApplicationObject::path(),
                                       ApplicationObject::interfaceName(), u"Activate"_qs);
    message << QVariantMap();
    std::vector<QDBusPendingCall> pending;
    for (int call = 0; call < 5; ++call) {
        pending.push_back(m_caller.asyncCall(message));
    }
    EXPECT_TRUE(waitUntil([&] { return pending.back().isFinished(); }));
    drainEvents();
    EXPECT_EQ(requests, 1);
}

} // namespace lumivane::test
