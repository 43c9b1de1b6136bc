#pragma once

#include "RefresherProcess.h"
#include "accounts/AccountCoding.h"
#include "async/SystemClock.h"
#include "support/EventLoop.h"
#include "support/KeyringDaemon.h"
#include "support/PrivateBus.h"
#include "support/ScriptedAccountServer.h"

#include <gtest/gtest.h>

namespace lumivane::test {

/// A real keyring with a session in it, an account service, and processes that restore the session.
class RefreshProcessFixture : public testing::Test {
protected:
    void SetUp() override {
        RefresherProcess storing(bus, {u"store"_qs});
        storing.give(encodeSecretJson(server.session()));
        storing.lastWord();
        ASSERT_EQ(stored(), server.session().refreshToken.reveal());
    }

    QStringList start(const QString& step = QString()) const { return {server.baseURL(), step}; }

    /// What a further start ends in: its access token, or "none".
    QByteArray nextStart() { return RefresherProcess(bus, start()).lastWord(); }

    QByteArray item() const {
        return keyring->readByTool(u"com.marnoth.Lumivane.authentication"_qs, u"session"_qs);
    }

    /// The refresh token in the keyring, and behind it "pending" while an operation is.
    QByteArray stored() const {
        const QByteArray json = item();
        if (json.isEmpty()) {
            return {};
        }
        const auto session = decodeSecretJson<StoredSession>(json);
        return session.refreshToken.reveal().toByteArray() +
               (session.pendingRefreshOperationID ? " pending" : "");
    }

    PrivateBus bus;
    std::unique_ptr<KeyringDaemon> keyring = std::make_unique<KeyringDaemon>(bus);
    SystemClock clock;
    ScriptedAccountServer server{clock};
};

} // namespace lumivane::test
