#pragma once

#include "overlays/OverlayCoordinator.h"
#include "overlays/OverlayPlacement.h"
#include "overlays/OverlayViews.h"
#include "support/EventLoop.h"
#include "support/FakeAnnouncer.h"
#include "support/FakeDisplayServer.h"
#include "support/FakeHotKeyRegistrar.h"
#include "support/FakePanelHost.h"
#include "support/FakePasteboard.h"
#include "support/JournalledHotKeys.h"
#include "support/LogCapture.h"
#include "support/ManualClock.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace lumivane::test {

inline constexpr std::uint32_t mainDisplay = 7;
inline constexpr std::uint32_t sideDisplay = 8;
inline constexpr std::uint32_t unknownDisplay = 9;

class JournalledAnnouncer final : public Announcer {
public:
    JournalledAnnouncer(Journal& journal, const LogCapture& log)
        : m_journal(journal)
        , m_log(log) {}

    void announce(const QString& text, AnnouncementPriority priority) override {
        m_journal.add(u"announce behind %1 lines"_qs.arg(m_log.lines().size()));
        fake.announce(text, priority);
    }

    FakeAnnouncer fake;

private:
    Journal& m_journal;
    const LogCapture& m_log;
};

/// A coordinator over fakes, on a desktop of two displays.
class OverlayCoordinatorTest : public testing::Test {
protected:
    static constexpr Rect mainVisible{0, 0, 1440, 875};
    static constexpr Rect sideVisible{-1280, 0, 1280, 1024};
    static constexpr HotKeyIdentifier escape{OverlayCoordinator::signature, 1};
    static constexpr std::uint32_t escapeKeyCode = 53;

    OverlayCoordinatorTest() {
        displays.setDisplays(
            {{sideDisplay, sideVisible, 1, false}, {mainDisplay, {0, 0, 1440, 900}, 2, true}});
        displays.setVisibleFrame(mainDisplay, mainVisible);
        host.onOpen = [this](std::size_t number) { journal.add(u"open %1"_qs.arg(number)); };
        host.onClose = [this](std::size_t number) { journal.add(u"close %1"_qs.arg(number)); };
        create();
    }

    void create() {
        coordinator.reset();
        coordinator.emplace(host, registrar, displays, announcer, pasteboard, clock);
    }

    void show(const QString& text = u"the answer"_qs, ResultKind kind = ResultKind::text,
              std::uint32_t displayID = mainDisplay) {
        coordinator->showResult(text, kind, std::nullopt, std::nullopt, displayID, settings,
                                std::nullopt);
    }

    void showError(std::optional<std::uint32_t> displayID = mainDisplay) {
        coordinator->showError(u"It failed."_qs, displayID, settings);
    }

    void pressEscape() { hotKeys.pressKey(escapeKeyCode, 0); }

    /// The model of the newest panel that is up, as a result's.
    std::shared_ptr<ResultOverlayModel> result() const { return host.model<ResultOverlayModel>(); }

    QString remaining() const { return result()->remainingLabel(); }

    bool isEscapeHeld() const { return !hotKeys.hotKeys().empty(); }

    QStringList spoken() const {
        QStringList texts;
        for (const auto& announcement : announcer.fake.announcements) {
            EXPECT_EQ(announcement.priority, AnnouncementPriority::high);
            texts.append(announcement.text);
        }
        return texts;
    }

    /// Nothing is up and nothing can wake the process.
    void expectNothingIsLeft() const {
        EXPECT_TRUE(host.up().empty());
        EXPECT_EQ(clock.timerCount(), 0U);
        EXPECT_FALSE(isEscapeHeld());
    }

    int logged(LogLevel level, std::string_view text) const {
        return log.count("overlay", level, text);
    }

    using Numbers = std::vector<std::size_t>;

    LogCapture log;
    Journal journal;
    ManualClock clock;
    FakeDisplayServer displays;
    FakePanelHost host;
    FakeHotKeyRegistrar hotKeys;
    JournalledHotKeys registrar{hotKeys, journal};
    JournalledAnnouncer announcer{journal, log};
    FakePasteboard systemPasteboard{journal};
    OverlayPasteboard pasteboard{systemPasteboard};
    AppSettings settings;
    std::optional<OverlayCoordinator> coordinator;
};

} // namespace lumivane::test
