#include "support/FakeNotesScripting.h"

#include <utility>

namespace lumivane::test {

QCoro::Task<std::int32_t> FakeNotesScripting::automationPermission(QString bundleID,
                                                                   AskingUser asking) {
    m_requests.push_back(u"automationPermission "_qs + bundleID);
    askings.push_back(asking);
    return permission.call(std::stop_token());
}

bool FakeNotesScripting::isRunning(const QString& bundleID) const {
    m_requests.push_back(u"isRunning "_qs + bundleID);
    return running;
}

std::optional<QUrl> FakeNotesScripting::applicationUrl(const QString& bundleID) const {
    m_requests.push_back(u"applicationUrl "_qs + bundleID);
    return application;
}

QCoro::Task<bool> FakeNotesScripting::openApplication(QUrl url, OpenConfiguration configuration) {
    m_requests.push_back(u"openApplication "_qs + url.toString());
    configurations.push_back(configuration);
    running = co_await opening.call(std::stop_token());
    co_return running;
}

QCoro::Task<ScriptOutcome> FakeNotesScripting::execute(QString source) {
    m_requests.push_back(u"execute"_qs);
    sources.push_back(std::move(source));
    return script.call(std::stop_token());
}

} // namespace lumivane::test
