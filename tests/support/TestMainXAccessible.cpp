#include "support/AccessibilityBus.h"
#include "support/RunTestsOnX.h"

using namespace lumivane::test;

namespace {

constexpr auto busOfTests = "LUMIVANE_TEST_ACCESSIBILITY_BUS";

int runBesideBus(const RunTests& runTests) {
    const AccessibilityBus bus;
    auto environment = bus.environment({});
    environment.insert(QString::fromLatin1(busOfTests), bus.address());
    return runTests(environment);
}

} // namespace

int main(int argc, char** argv) { return runTestsOnXBeside(argc, argv, busOfTests, runBesideBus); }
