#pragma once

namespace lumivane::test {

/// The main function of tests whose application stands on an X server of their program's own, which
/// ends after it. Where tests are only listed, no server is started.
int runTestsOnX(int argc, char** argv);

/// Whether the program was called to list its tests, as the build does on machines without a
/// display.
bool onlyListsTests(int argc, char** argv);

} // namespace lumivane::test
