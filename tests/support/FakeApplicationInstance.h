#pragma once

#include "platform/ApplicationInstance.h"

namespace lumivane::test {

/// A place in a session that a test gives and takes.
class FakeApplicationInstance final : public ApplicationInstance {
public:
    Claim claim() override {
        hasPlace = !isTaken;
        return hasPlace ? Claim::granted : Claim::taken;
    }

    void release() override { hasPlace = false; }

    bool activateOther(const QStringList&) override { return isTaken; }

    /// Somebody starts the program again, or asks it to open addresses. Nobody hears of it while
    /// the place is another's.
    void activate() const {
        if (hasPlace && onActivate) {
            onActivate();
        }
    }

    void open(const QStringList& urls) const {
        if (hasPlace && onOpen) {
            onOpen(urls);
        }
    }

    bool isTaken = false; ///< by another instance
    bool hasPlace = false;
};

} // namespace lumivane::test
