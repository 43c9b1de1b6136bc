// What holds for every place in a session, the fake one included.

#include "InstancePrograms.h"
#include "async/SystemClock.h"
#include "platform/linux/SessionInstance.h"
#include "support/EventLoop.h"
#include "support/FakeApplicationInstance.h"

#include <memory>

namespace lumivane::test {

using Claim = ApplicationInstance::Claim;

/// An instance, and another one that may have its place.
class InstanceContract : public InstancePrograms, public testing::WithParamInterface<bool> {
protected:
    InstanceContract() {
        if (isFake()) {
            m_instance = std::make_unique<FakeApplicationInstance>();
        } else {
            m_instance = std::make_unique<SessionInstance>(place(), QDBusConnection(u"none"_qs),
                                                           m_clock, std::chrono::milliseconds(300));
            m_other = start();
        }
        m_instance->onActivate = [this] { ++m_activations; };
        m_instance->onOpen = [this](const QStringList& urls) { m_opened << urls; };
    }

    static bool isFake() { return GetParam(); }

    FakeApplicationInstance& fake() { return static_cast<FakeApplicationInstance&>(*m_instance); }

    void takeElsewhere() {
        if (isFake()) {
            fake().isTaken = true;
        } else {
            EXPECT_EQ(ask(*m_other, "claim"), "granted");
        }
    }

    void freeElsewhere() {
        if (isFake()) {
            fake().isTaken = false;
        } else {
            m_other->kill();
        }
    }

    /// The other one asks this one to open addresses, or to come forward.
    void askFromElsewhere(const QStringList& urls) {
        if (isFake()) {
            urls.isEmpty() ? fake().activate() : fake().open(urls);
            return;
        }
        QByteArray command = "begin";
        for (const QString& url : urls) {
            command += ' ' + url.toUtf8().toHex();
        }
        m_other->tell(command);
        EXPECT_TRUE(hear(m_other->processID(), ""));
    }

    SystemClock m_clock;
    std::unique_ptr<ApplicationInstance> m_instance;
    std::unique_ptr<InstanceProgram> m_other;
    int m_activations = 0;
    QStringList m_opened;
};

INSTANTIATE_TEST_SUITE_P(Each, InstanceContract, testing::Bool(),
                         [](const auto& each) { return each.param ? "Fake" : "Real"; });

TEST_P(InstanceContract, AFreePlaceIsGrantedAndStaysSo) {
    EXPECT_EQ(m_instance->claim(), Claim::granted);
    EXPECT_EQ(m_instance->claim(), Claim::granted);
    m_instance->release();
    m_instance->release();
    EXPECT_EQ(m_instance->claim(), Claim::granted);
}

TEST_P(InstanceContract, APlaceOfAnotherIsTakenUntilItIsFree) {
    takeElsewhere();
    EXPECT_EQ(m_instance->claim(), Claim::taken);
    EXPECT_TRUE(m_instance->activateOther({}));
    EXPECT_TRUE(m_instance->activateOther({u"a:"_qs}));
    freeElsewhere();
    EXPECT_FALSE(m_instance->activateOther({}));
    EXPECT_EQ(m_instance->claim(), Claim::granted);
}

TEST_P(InstanceContract, TheHolderHearsOthers) {
    ASSERT_EQ(m_instance->claim(), Claim::granted);
    askFromElsewhere({});
    EXPECT_TRUE(waitUntil([this] { return m_activations == 1; }));
    askFromElsewhere({u"a:1"_qs, u"b:2"_qs});
    EXPECT_TRUE(waitUntil([this] { return m_opened == QStringList({u"a:1"_qs, u"b:2"_qs}); }));
    EXPECT_EQ(m_activations, 1);
}

TEST_P(InstanceContract, WhoeverHasGivenThePlaceUpHearsNothing) {
    ASSERT_EQ(m_instance->claim(), Claim::granted);
    m_instance->release();
    askFromElsewhere({});
    drainEvents();
    EXPECT_EQ(m_activations, 0);
}

} // namespace lumivane::test
