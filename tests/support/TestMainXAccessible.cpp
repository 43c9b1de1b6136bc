#include "support/AccessibilityBus.h"
#include "support/RunTestsOnX.h"
#include "support/XTestProcess.h"

#include <QCoreApplication>

namespace {

constexpr auto busOfTests = "LUMIVANE_TEST_ACCESSIBILITY_BUS";

/// The application looks for the bus when it is made, so the tests run in a process below this one.
int runBesideBus(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const lumivane::test::AccessibilityBus bus;
    auto environment = bus.environment({});
    environment.insert(QString::fromLatin1(busOfTests), bus.address());
    QProcess tests;
    tests.setProcessEnvironment(environment);
    tests.setProcessChannelMode(QProcess::ForwardedChannels);
    lumivane::test::startInOwnGroup(tests, QCoreApplication::applicationFilePath(),
                                    QCoreApplication::arguments().mid(1));
    tests.waitForFinished(-1);
    return tests.exitStatus() == QProcess::NormalExit ? tests.exitCode() : 1;
}

} // namespace

int main(int argc, char** argv) {
    const bool isBesideBus = qEnvironmentVariableIsSet(busOfTests);
    return isBesideBus || lumivane::test::onlyListsTests(argc, argv)
               ? lumivane::test::runTestsOnX(argc, argv)
               : runBesideBus(argc, argv);
}
