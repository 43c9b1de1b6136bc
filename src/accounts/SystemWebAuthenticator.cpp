#include "accounts/SystemWebAuthenticator.h"

#include "accounts/AuthenticationError.h"
#include "accounts/LoginCallback.h"
#include "async/Cancelled.h"
#include "telemetry/LumivaneLog.h"

#include <functional>
#include <utility>

namespace lumivane {

namespace {

using Case = AuthenticationError::Case;

/// A desktop opens addresses of other schemes with whatever program claims them.
bool isWebPage(const QUrl& page) {
    return page.isValid() && !page.host().isEmpty() &&
           (page.scheme() == u"https" || page.scheme() == u"http");
}

QString callbackOf(const WebSessionEnd& end) {
    switch (end.kind) {
    case WebSessionEnd::Kind::callback:
        if (!end.callbackUrl.isEmpty()) {
            return end.callbackUrl;
        }
        break;
    case WebSessionEnd::Kind::cancelledByUser:
        throw AuthenticationError(Case::cancelled);
    case WebSessionEnd::Kind::notStarted:
        throw AuthenticationError(Case::unavailable);
    case WebSessionEnd::Kind::failed:
        break;
    }
    throw AuthenticationError(Case::invalidCallback);
}

} // namespace

SystemWebAuthenticator::SystemWebAuthenticator(WebSession& session, Clock& clock)
    : m_session(&session)
    , m_clock(&clock) {
    session.onStrayCallback = [this] { noteStrayCallback(); };
}

SystemWebAuthenticator::~SystemWebAuthenticator() {
    m_session->onStrayCallback = nullptr;
    cancel();
}

QCoro::Task<QString> SystemWebAuthenticator::authenticate(QUrl page, std::stop_token stop) {
    throwIfStopped(stop);
    cancel();
    reportStrayCallbacks();
    if (!isWebPage(page)) {
        throw AuthenticationError(Case::unavailable);
    }
    const std::stop_source login;
    m_login = login;
    const std::function<void()> giveUp = [login]() mutable { login.request_stop(); };
    const auto limit = m_clock->after(loginLimit, giveUp);
    const std::stop_callback onStop(stop, giveUp);
    try {
        const WebSessionEnd end =
            co_await m_session->run(page, LoginCallback::scheme, login.get_token());
        co_return callbackOf(end);
    } catch (const Cancelled&) {
        // A flow that was stopped is not a user who gave up, though both close the page.
        throwIfStopped(stop);
        throw AuthenticationError(Case::cancelled);
    }
}

void SystemWebAuthenticator::cancel() { m_login.request_stop(); }

void SystemWebAuthenticator::noteStrayCallback() {
    if (++m_strayCount == 1) {
        LumivaneLog::lifecycle.log("Dropped a login callback that no login waits for");
    }
}

void SystemWebAuthenticator::reportStrayCallbacks() {
    if (const std::int64_t more = std::exchange(m_strayCount, 0) - 1; more > 0) {
        LumivaneLog::lifecycle.log("Dropped more login callbacks; count=%{public}ld", more);
    }
}

} // namespace lumivane
