#pragma once

#include <QString>
#include <QStringList>

#include <functional>

namespace lumivane {

/// The program's place in the session, of which there is one: mechanism only. Main thread only.
///
/// Whoever starts the program again, or opens one of its links, reaches the instance that has the
/// place. The callbacks are set before the event loop turns after `claim`.
class ApplicationInstance {
public:
    enum class Claim {
        granted, ///< the place is this process's until `release`
        taken    ///< another instance has it, and `activateOther` reaches it
    };

    virtual ~ApplicationInstance() = default;

    /// The user opened the program while it was running.
    std::function<void()> onActivate;

    /// Something asked the program to open these addresses. They come from anywhere and are
    /// neither checked nor bounded in meaning, only in number and length.
    std::function<void(QStringList urls)> onOpen;

    /// Takes the place where it is free. Two processes that claim it at the same instant never
    /// both get it. Never fails: a session without a bus has a place all the same.
    virtual Claim claim() = 0;

    /// Gives the place up.
    virtual void release() = 0;

    /// Tells the instance that has the place to come forward, or, with `urls`, to open them. False
    /// when it could not be reached within a second or two.
    virtual bool activateOther(const QStringList& urls) = 0;
};

} // namespace lumivane
