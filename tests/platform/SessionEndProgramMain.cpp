// A program that says what it hears of the end of its session.

#include "platform/linux/SessionEnd.h"
#include "platform/linux/TerminationSignals.h"

#include <QApplication>

#include <cstdio>

namespace {

void say(const char* words) {
    std::puts(words);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    lumivane::TerminationSignals::unblock();
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const lumivane::SessionEnd end(application, [] {
        say("ending");
        QApplication::exit(0);
    });
    const lumivane::TerminationSignals signalHandler([] {
        say("signal");
        QApplication::exit(0);
    });
    say("up");
    const int status = QApplication::exec();
    say("stopped");
    return status;
}
