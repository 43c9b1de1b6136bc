#pragma once

#include "platform/ApplicationInstance.h"

#include <vector>

namespace lumivane::test {

/// A place in a session that a test gives and takes; keeps what was asked of it.
class FakeApplicationInstance final : public ApplicationInstance {
public:
    enum class Call { claim, release, activateOther };

    Claim claim() override {
        calls.push_back(Call::claim);
        hasPlace = !isTaken;
        return hasPlace ? Claim::granted : Claim::taken;
    }

    void release() override {
        calls.push_back(Call::release);
        hasPlace = false;
    }

    bool activateOther(const QStringList& urls) override {
        calls.push_back(Call::activateOther);
        handedOver.push_back(urls);
        return isTaken && otherAnswers;
    }

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

    bool isTaken = false;     ///< by another instance
    bool otherAnswers = true; ///< that other instance
    bool hasPlace = false;
    std::vector<Call> calls;
    std::vector<QStringList> handedOver;
};

} // namespace lumivane::test
