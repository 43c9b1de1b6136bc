#pragma once

namespace lumivane {

/// What the desktop does with the program at the start of a session.
enum class LoginItemStatus {
    notRegistered,
    enabled,          ///< it is started
    requiresApproval, ///< registered, but the user turned it off in the desktop's own settings
    outdated ///< registered in another way than now; a session may start something all the same
};

/// The program's entry among what starts with the session: mechanism only. Main thread only.
class LoginItem {
public:
    virtual ~LoginItem() = default;

    /// Read back from the desktop each time.
    virtual LoginItemStatus status() const = 0;

    /// Makes the status `enabled`, whatever it was. Throws std::system_error.
    virtual void registerItem() = 0;

    /// Makes the status `notRegistered`. Throws std::system_error.
    virtual void unregisterItem() = 0;
};

} // namespace lumivane
