#include "support/PrivateBus.h"
#include "support/RunTestsOnX.h"
#include "support/XTestProcess.h"

#include <QCoreApplication>

namespace {

constexpr auto busOfTests = "LUMIVANE_TEST_BUS_PROCESS";

/// The toolkit joins the bus of its surroundings, so the tests run in a process below this one.
int runBesideBus(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const lumivane::test::PrivateBus bus;
    auto environment = bus.environment();
    environment.insert(QString::fromLatin1(busOfTests), QString::number(bus.processID()));
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
