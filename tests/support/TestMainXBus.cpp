#include "support/PrivateBus.h"
#include "support/RunTestsOnX.h"

using namespace lumivane::test;

namespace {

constexpr auto busOfTests = "LUMIVANE_TEST_BUS_PROCESS";

int runBesideBus(const RunTests& runTests) {
    const PrivateBus bus;
    auto environment = bus.environment();
    environment.insert(QString::fromLatin1(busOfTests), QString::number(bus.processID()));
    return runTests(environment);
}

} // namespace

int main(int argc, char** argv) { return runTestsOnXBeside(argc, argv, busOfTests, runBesideBus); }
