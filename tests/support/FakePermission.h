#pragma once

#include "analysis/PermissionServing.h"
#include "support/Journal.h"

#include <optional>

namespace lumivane::test {

/// Allows what a test says, and journals what was asked.
class FakePermission final : public PermissionServing {
public:
    explicit FakePermission(Journal& journal)
        : m_journal(journal) {}

    bool hasScreenRecording() const override {
        m_journal.add(u"hasScreenRecording"_qs);
        return granted;
    }

    bool requestScreenRecording() override {
        m_journal.add(u"requestScreenRecording"_qs);
        granted = grantedAfterRequest.value_or(granted);
        return answer.value_or(granted);
    }

    void openScreenRecordingSettings() override {
        m_journal.add(u"openScreenRecordingSettings"_qs);
    }

    bool granted = true;
    std::optional<bool> grantedAfterRequest; ///< none: asking changes nothing
    std::optional<bool> answer;              ///< none: the request answers as things stand

private:
    Journal& m_journal;
};

} // namespace lumivane::test
