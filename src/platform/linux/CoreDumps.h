#pragma once

namespace lumivane::CoreDumps {

/// From now on a crash of this process leaves no image of its memory, in which tokens and screens
/// would lie. The process stays as visible to the desktop's portals as it was. Programs that it
/// starts inherit this.
void disable();

} // namespace lumivane::CoreDumps
