#pragma once

#include "async/Completion.h"
#include "platform/WebSession.h"

#include <QList>

#include <memory>

namespace lumivane::test {

/// A browser that shows nothing: the test says how each page ends.
class FakeWebSession final : public WebSession {
public:
    QCoro::Task<WebSessionEnd> run(QUrl page, QString callbackScheme,
                                   std::stop_token stop) override;

    /// What was to be shown, in order, pages that did not start included.
    const QList<QUrl>& pages() const { return m_pages; }

    /// The scheme that the last page was to come back by.
    const QString& callbackScheme() const { return m_scheme; }

    /// Whether a page waits, now.
    bool isWaiting() const;

    /// Somebody hands an address in.
    void deliver(const QString& url);

    /// The page that waits ends; without one nothing happens.
    void end(const WebSessionEnd& end);

    bool startsPages = true;

private:
    struct Waiting {
        Completion<WebSessionEnd> ended;
        std::stop_token stop;
    };

    QList<QUrl> m_pages;
    QString m_scheme;
    std::unique_ptr<Waiting> m_waiting;
};

} // namespace lumivane::test
