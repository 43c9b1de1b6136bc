#include "analysis/TestingMode.h"

namespace lumivane {

TestingMode TestingMode::of(const QStringList& arguments, const QProcessEnvironment& environment) {
    const auto has = [&arguments](QStringView argument) { return arguments.contains(argument); };
    TestingMode mode;
    mode.isUITesting = has(u"--ui-testing");
    mode.isUnitTesting =
        !mode.isUITesting && (environment.contains(u"XCTestConfigurationFilePath"_qs) ||
                              environment.contains(u"XCTestBundlePath"_qs));
    mode.signedIn = has(u"--ui-testing-signed-in");
    mode.devicesUnavailable = has(u"--ui-testing-devices-unavailable");
    mode.takeover = has(u"--ui-testing-takeover");
    mode.light = has(u"--ui-testing-light");
    mode.onboardingReady = has(u"--ui-testing-onboarding-ready");
    mode.onboardingDenied = has(u"--ui-testing-onboarding-denied");
    mode.configured = has(u"--ui-testing-configured");
    mode.needsPermission = has(u"--ui-testing-needs-permission");
    mode.needsService = has(u"--ui-testing-needs-service");
    mode.invalidPrompt = has(u"--ui-testing-invalid-prompt");
    mode.authRequired = has(u"--ui-testing-auth-required");
    return mode;
}

} // namespace lumivane
