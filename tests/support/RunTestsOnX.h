#pragma once

#include <QProcessEnvironment>

#include <functional>

namespace lumivane::test {

/// The main function of tests whose application stands on an X server of their program's own, which
/// ends after it. Where tests are only listed, no server is started.
int runTestsOnX(int argc, char** argv);

/// The same for an application that looks for something in its surroundings when it is made, such
/// as a message bus: the tests run in a process below this one. `besideIt` makes what they need,
/// calls what it is given with their environment, in which `marker` is set, and returns its answer.
using RunTests = std::function<int(const QProcessEnvironment& environment)>;
int runTestsOnXBeside(int argc, char** argv, const char* marker,
                      const std::function<int(const RunTests& runTests)>& besideIt);

/// Whether the program was called to list its tests, as the build does on machines without a
/// display.
bool onlyListsTests(int argc, char** argv);

} // namespace lumivane::test
