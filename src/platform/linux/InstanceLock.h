#pragma once

#include "platform/linux/InstancePlace.h"
#include "platform/linux/OwnedDescriptor.h"

namespace lumivane {

/// The lock file of a session, which one instance at a time holds. Main thread.
///
/// The system itself takes the lock from a process that ends, whichever way it ends, so there is no
/// stale lock. The file stays for the next instance. The lock can be shared with another process
/// by sending it the descriptor: then it is free once both have closed theirs.
class InstanceLock {
public:
    enum class Outcome {
        ours,
        taken,      ///< another process holds it
        unavailable ///< there is no folder in which it could lie
    };

    explicit InstanceLock(InstancePlace place);

    /// Takes the lock where it is free. Ours already counts as ours.
    Outcome take();

    /// Goes on with a lock that another process holds, through a descriptor it sent. False, and
    /// nothing has changed, when that is not this session's lock.
    bool adopt(OwnedDescriptor descriptor);

    /// Lets go. Another process that shares the lock still holds it.
    void drop() { m_lock.reset(); }

    bool isOurs() const { return static_cast<bool>(m_lock); }

    /// To send to another process; -1 while it is not ours.
    int descriptor() const { return m_lock.get(); }

    /// The folder that the last `take` or `adopt` looked at, or -1. The socket lies there too.
    int folder() const { return m_folder.get(); }

private:
    Outcome takeIn(OwnedDescriptor folder);

    InstancePlace m_place;
    OwnedDescriptor m_folder;
    OwnedDescriptor m_lock;
};

} // namespace lumivane
