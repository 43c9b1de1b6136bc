#pragma once

#include <QString>
#include <QUrl>
#include <qcoro/qcorotask.h>

#include <stop_token>

namespace lumivane {

/// Sends the user to a login page and brings back the address to which it led. Main thread only.
class WebAuthenticating {
public:
    virtual ~WebAuthenticating() = default;

    /// The callback address to the letter, which is hostile until LoginCallback has read it. One
    /// login at a time: another call ends the one before, as `cancel` does. Throws
    /// AuthenticationError: `cancelled` for a login that was given up by the user, by `cancel` or
    /// by its own time limit, `unavailable` for a page that nothing here shows, `invalidCallback`
    /// for one that ended without an address. Throws Cancelled once a stop is requested.
    virtual QCoro::Task<QString> authenticate(QUrl page, std::stop_token stop) = 0;

    /// Ends the login under way; harmless without one.
    virtual void cancel() = 0;
};

} // namespace lumivane
