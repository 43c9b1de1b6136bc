#pragma once

namespace lumivane {

/// The desktop's own sounds. Main thread only.
class SoundPlayer {
public:
    virtual ~SoundPlayer() = default;

    virtual void beep() = 0;
};

} // namespace lumivane
