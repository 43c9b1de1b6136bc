#pragma once

#include <chrono>

namespace lumivane {

/// True where there is a session bus and it takes connections without ever answering them.
///
/// The toolkit waits for the bus without a limit, on the main thread and at the start, so a program
/// that is to come up all the same has to know before. Blocks for at most `limit`; a bus that is
/// well answers within a millisecond, and one that is not there is known at once.
bool sessionBusHangs(std::chrono::milliseconds limit);

/// Lets the toolkit take the session bus for absent. Called before the application object is made.
/// Programs that this one starts would, too: they get the environment as it was before.
void leaveSessionBus();

} // namespace lumivane
