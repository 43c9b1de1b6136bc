#pragma once

namespace lumivane::CoreDumps {

/// From now on a crash of this process leaves no image of its memory, in which tokens and screens
/// would lie. The process stays as visible to the desktop's portals as it was. Programs that it
/// starts inherit this unless `allowAgain` comes first.
void disable();

/// Puts back what `disable` found, for a process that is about to become a program of the user's.
/// May be called between fork and exec. False when there is nothing to put back.
bool allowAgain();

} // namespace lumivane::CoreDumps
