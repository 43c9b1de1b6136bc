#pragma once

#include "async/Completion.h"
#include "platform/UrlOpener.h"
#include "platform/WebSession.h"

#include <memory>

namespace lumivane {

/// A login page in the browser that the user has anyway. The address it comes back by is handed in
/// by the desktop, which starts the program with it. Main thread.
///
/// A page that was opened cannot be closed again, and nobody tells when the user closes it.
class BrowserWebSession final : public WebSession {
public:
    /// `opener` outlives this.
    explicit BrowserWebSession(UrlOpener& opener);

    QCoro::Task<WebSessionEnd> run(QUrl page, QString callbackScheme,
                                   std::stop_token stop) override;

    /// An address with which the program was opened, from anywhere and of any form.
    void deliver(const QString& url);

private:
    struct Waiting;

    void endWaiting(const WebSessionEnd& end);

    UrlOpener* m_opener;
    std::shared_ptr<Waiting> m_waiting;
};

} // namespace lumivane
