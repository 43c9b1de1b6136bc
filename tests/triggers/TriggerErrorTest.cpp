#include "triggers/TriggerError.h"

#include <gtest/gtest.h>

namespace lumivane {

TEST(TriggerError, SaysThatTheShortcutIsTaken) {
    const TriggerError error(TriggerError::Case::unavailableHotKey);
    EXPECT_EQ(error.errorDescription(),
              u"That keyboard shortcut is already used by macOS or another app."_qs);
    EXPECT_EQ(error.typeName(), "TriggerError");
    EXPECT_EQ(error, TriggerError(TriggerError::Case::unavailableHotKey));
}

} // namespace lumivane
