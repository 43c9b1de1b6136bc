#pragma once

#include "support/AppModelFixture.h"
#include "support/FakeAccessibilitySettings.h"
#include "support/FakeStatusBar.h"
#include "ui/LumivaneStatusItemController.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

namespace lumivane::test {

/// A popover without a window.
class FakePopover final : public PopoverPresenting {
public:
    void toggle(const QRect& anchor) override {
        isUp = !isUp;
        anchors.push_back(anchor);
    }

    void close() override {
        isUp = false;
        ++closings;
    }

    bool isShown() const override { return isUp; }

    bool isUp = false;
    int closings = 0;
    std::vector<QRect> anchors;
};

/// The pixels of one size of the icon.
inline QImage drawn(LumivaneDisplayState state, double radius, int edge = 32,
                    Appearance appearance = Appearance::dark) {
    return LumivaneStatusIconRenderer::bitmapRepresentation(state, radius, appearance, edge / 16.0);
}

/// The controller over a model over fakes; nothing but the icon is looked at.
class StatusItemTest : public AppModelTest {
protected:
    static constexpr int size32 = 3; ///< where the image of 32 pixels stands

    ~StatusItemTest() override { controller.reset(); }

    /// The controller over the present `settings`, what it posts delivered.
    void makeController() {
        make();
        const auto note = [this](const QString& name) { return [this, name] { chosen << name; }; };
        controller = std::make_unique<LumivaneStatusItemController>(StatusItemPorts{
            *model,
            bar,
            popover,
            accessibility,
            clock,
            [this] { return hasScreenRecording; },
            {note(u"analyze"_qs), note(u"pause"_qs), note(u"settings"_qs), note(u"test"_qs),
             note(u"copy"_qs), note(u"again"_qs), note(u"diagnostics"_qs), note(u"quit"_qs)}});
        drainEvents();
    }

    /// Settings as they come from a pane.
    void change(const std::function<void(AppSettings&)>& apply) {
        AppSettings changed = model->settings();
        apply(changed);
        model->updateSettings(changed);
        drainEvents();
    }

    /// The model is at work on a frame that does not come yet.
    void startCapturing() {
        capture.script.hold();
        run();
        EXPECT_EQ(model->state(), AnalysisState::capturing);
    }

    void endRun() {
        capture.script.cancelPending();
        drainEvents();
    }

    int pictureCount() const { return static_cast<int>(bar.icon().pictures.size()); }

    QImage shown() const { return bar.picture().at(size32); }

    QString toolTip() const { return bar.icon().toolTips.back(); }

    QStringList titles(const std::vector<StatusMenuItem>& items) const {
        QStringList found;
        for (const StatusMenuItem& item : items) {
            found << item.title;
        }
        return found;
    }

    bool isEnabled(const QString& title) const {
        for (const StatusMenuItem& item : bar.icon().offeredMenu) {
            if (item.title == title) {
                return item.enabled;
            }
        }
        ADD_FAILURE() << "no line " << title.toStdString();
        return false;
    }

    FakeStatusBar bar;
    FakePopover popover;
    FakeAccessibilitySettings accessibility;
    bool hasScreenRecording = true;
    QStringList chosen;
    std::unique_ptr<LumivaneStatusItemController> controller;
};

} // namespace lumivane::test
