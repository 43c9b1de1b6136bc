#pragma once

#include "domain/SecretText.h"

#include <QByteArray>

namespace lumivane::test {

/// A secret that no other text resembles, and where it stands in the memory of this process: also
/// in what was given back and not written over since. Whoever looks has dropped every copy that may
/// live on.
class MemoryCanary {
public:
    /// Another one each time within a process.
    MemoryCanary();

    /// 96 letters. The caller's to drop.
    SecretText secret() const;

    /// Whether the middle of it, which is what stays of memory that was given back, stands
    /// anywhere.
    bool standsInMemory() const;

private:
    QByteArray m_masked; ///< so that this is no copy
};

} // namespace lumivane::test
