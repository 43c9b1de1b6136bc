#pragma once

namespace lumivane {

/// The permission to capture the screen. Main thread; nothing here fails or prompts but `request`.
class PermissionServing {
public:
    virtual ~PermissionServing() = default;

    /// Whether the process may capture the screen now. Must not prompt.
    virtual bool hasScreenRecording() const = 0;

    /// Asks the system, which may prompt the user; true when the answer was yes.
    virtual bool requestScreenRecording() = 0;

    /// Opens the system's own pane for this permission, where it has one.
    virtual void openScreenRecordingSettings() = 0;
};

} // namespace lumivane
