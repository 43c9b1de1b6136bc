#pragma once

#include "platform/SoundPlayer.h"

#include <QApplication>

namespace lumivane {

/// The desktop's bell.
class QtSoundPlayer final : public SoundPlayer {
public:
    void beep() override { QApplication::beep(); }
};

} // namespace lumivane
