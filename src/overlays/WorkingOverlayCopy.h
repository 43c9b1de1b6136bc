#pragma once

#include <QString>

/// The status of the working panel, as shown and spoken.
namespace lumivane::WorkingOverlayCopy {

inline const QString normal = u"Processing…"_qs;
/// Once the answer has been waited for longer than usual.
inline const QString slow = u"Still thinking — this one is taking a while."_qs;

} // namespace lumivane::WorkingOverlayCopy
