#include "support/FakeDeviceFacts.h"

#include "async/MainThread.h"

#include <functional>

namespace lumivane::test {

std::optional<QString> FakeDeviceFacts::computerName(const std::stop_token& stop) {
    noteThread();
    if (m_isNameHeld) {
        std::mutex mutex;
        std::unique_lock lock(mutex);
        std::condition_variable_any never;
        never.wait(lock, stop, [] { return false; });
    }
    return name;
}

QString FakeDeviceFacts::hostName() {
    noteThread();
    return host;
}

std::optional<QString> FakeDeviceFacts::hardwareModel() {
    noteThread();
    return model;
}

bool FakeDeviceFacts::hasInternalBattery() {
    noteThread();
    ++batteryProbes;
    return battery;
}

SystemVersion FakeDeviceFacts::systemVersion() {
    noteThread();
    return version;
}

void FakeDeviceFacts::noteThread() {
    if (isMainThread()) {
        ++answersOnMainThread;
    }
}

} // namespace lumivane::test
