#pragma once

namespace lumivane {

/// The program's start with the session. Main thread.
class LaunchAtLoginServing {
public:
    virtual ~LaunchAtLoginServing() = default;

    virtual bool isEnabled() const = 0;

    /// Brings the login item to the wanted state; touches nothing when it is in that state already.
    /// Throws the desktop's own std::exception.
    virtual void setEnabled(bool enabled) = 0;
};

} // namespace lumivane
