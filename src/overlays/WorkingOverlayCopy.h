#pragma once

#include <QString>

namespace lumivane::WorkingOverlayCopy {

inline const QString normal = u"Processing…"_qs;
inline const QString slow = u"Still thinking — this one is taking a while."_qs;

} // namespace lumivane::WorkingOverlayCopy
