#pragma once

#include <QProcessEnvironment>
#include <QStringList>

namespace lumivane {

/// How a process is meant to be tested, read once from its arguments and environment. Arguments
/// count only as exact matches.
struct TestingMode {
    bool isUITesting = false;
    bool isUnitTesting = false; ///< never together with `isUITesting`

    // Which fixture stands in for the outside world. Each is true when its argument is there, but
    // the model looks at it only where `isUITesting` is true.
    bool signedIn = false;
    bool devicesUnavailable = false;
    bool takeover = false;
    bool light = false;
    bool onboardingReady = false;
    bool onboardingDenied = false;
    bool configured = false;
    bool needsPermission = false;
    bool needsService = false;
    bool invalidPrompt = false;
    bool authRequired = false;

    bool isTesting() const { return isUITesting || isUnitTesting; }

    static TestingMode of(const QStringList& arguments, const QProcessEnvironment& environment);

    bool operator==(const TestingMode&) const = default;
};

} // namespace lumivane
