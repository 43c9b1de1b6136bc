#pragma once

#include <QString>
#include <qcoro/qcorotask.h>

namespace lumivane {

/// One message of the desktop's own kind, in plain text.
struct UserNotification {
    /// What becomes of it once it has been on screen.
    enum class Keeping {
        byTheDesktop, ///< as the desktop keeps any other
        untilSeen     ///< it tells of the moment; a list of earlier ones need not hold it
    };

    QString identifier; ///< names this one among all that the program ever posts
    QString title;
    QString body;
    Keeping keeping = Keeping::byTheDesktop;

    bool operator==(const UserNotification&) const = default;
};

/// The desktop's notifications: mechanism only. Main thread, which none of it blocks, however long
/// the desktop takes to answer; every wait ends within a few seconds.
class UserNotifications {
public:
    virtual ~UserNotifications() = default;

    /// Asks for the right to show alerts and answers whether it was given. Throws std::exception
    /// when the desktop could not be asked.
    virtual QCoro::Task<bool> requestAuthorization() = 0;

    /// Hands one over for showing now. Throws std::exception when the desktop did not take it.
    virtual QCoro::Task<void> add(UserNotification notification) = 0;
};

} // namespace lumivane
