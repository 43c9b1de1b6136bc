#include "support/RunTestsOnX.h"

#include <QByteArray>

int main(int argc, char** argv) {
    // Where there is a display the toolkit would start a message bus and leave it behind.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    return lumivane::test::runTestsOnX(argc, argv);
}
