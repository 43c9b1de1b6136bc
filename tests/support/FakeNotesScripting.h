#pragma once

#include "platform/NotesScripting.h"
#include "support/ScriptedCall.h"

#include <QStringList>

#include <vector>

namespace lumivane::test {

/// A note program without a desktop: keeps what was asked, in order, and answers as the test says.
/// By default it is installed, does not run, may be automated and takes every script.
class FakeNotesScripting final : public NotesScripting {
public:
    QCoro::Task<std::int32_t> automationPermission(QString bundleID, AskingUser asking) override;
    bool isRunning(const QString& bundleID) const override;
    std::optional<QUrl> applicationUrl(const QString& bundleID) const override;
    QCoro::Task<bool> openApplication(QUrl application, OpenConfiguration configuration) override;
    QCoro::Task<ScriptOutcome> execute(QString source) override;

    /// The names of the operations in order of arrival, each with the application it was about.
    const QStringList& requests() const { return m_requests; }

    bool running = false;
    std::optional<QUrl> application = QUrl(u"file:///Applications/Notes.app"_qs);
    ScriptedCall<std::int32_t> permission{0};
    ScriptedCall<bool> opening{true}; ///< true makes it run from then on
    ScriptedCall<ScriptOutcome> script{ScriptOutcome{}};

    std::vector<AskingUser> askings;
    std::vector<OpenConfiguration> configurations;
    QStringList sources;

private:
    mutable QStringList m_requests;
};

} // namespace lumivane::test
