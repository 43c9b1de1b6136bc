#pragma once

#include <functional>

namespace lumivane {

/// Runs `work` on the main thread in a later turn of its event loop. Any thread.
///
/// Work posted after the application object has gone is dropped.
void postToMainThread(std::function<void()> work);

/// True on the thread that runs the application's event loop.
bool isMainThread();

} // namespace lumivane
