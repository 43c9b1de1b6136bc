#pragma once

#include <QString>
#include <QUrl>
#include <qcoro/qcorotask.h>

#include <functional>
#include <stop_token>

namespace lumivane {

/// How a login page ended.
struct WebSessionEnd {
    enum class Kind {
        callback,        ///< an address of the scheme was caught; see `callbackUrl`
        cancelledByUser, ///< the user closed the page
        failed,          ///< it ended without an address
        notStarted       ///< nothing here shows such a page
    };

    Kind kind = Kind::failed;

    /// As it was handed in, to the letter: anybody can hand one in, so it is neither checked nor
    /// bounded.
    QString callbackUrl;

    bool operator==(const WebSessionEnd&) const = default;
};

/// A login page in the user's browser, and the address by which it comes back: mechanism only.
/// Main thread.
class WebSession {
public:
    virtual ~WebSession() = default;

    /// An address came that no page waits for, or one of another scheme; what it was is dropped.
    /// Set before the first page is opened.
    std::function<void()> onStrayCallback;

    /// Shows `page`, with the login state that the browser has, and waits for the first address
    /// whose scheme is `callbackScheme`, whatever its case. Brings this program forward where the
    /// desktop shows the page in its name. A page that is opened while another waits takes its
    /// place, and the other ends with `cancelledByUser`. A requested stop ends the wait with
    /// Cancelled and closes the page where that can be done. Nothing is thrown besides.
    virtual QCoro::Task<WebSessionEnd> run(QUrl page, QString callbackScheme,
                                           std::stop_token stop) = 0;
};

} // namespace lumivane
