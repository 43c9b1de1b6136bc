#include "support/AtspiReader.h"

#include "platform/AccessibleWindow.h"
#include "support/EventLoop.h"
#include "support/XServer.h"

#include <gmock/gmock.h>

namespace lumivane::test {
namespace {

class AtspiReading : public testing::Test {
protected:
    /// The window as it stands now.
    AccessibleNode read() {
        const auto program = reader.waitForApplication(window.processID());
        if (!program) {
            throw std::runtime_error("the window is not on the accessibility bus");
        }
        return *program;
    }

    XServer display;
    AccessibilityBus bus;
    AtspiReader reader{bus.address()};
    AccessibleWindow window{bus.environment(display.displayName())};
};

TEST_F(AtspiReading, AProgramIsFoundByItsProcess) {
    const auto program = read();

    EXPECT_EQ(program.role, u"application"_qs);
    EXPECT_NE(program.find(u"frame"_qs, u"the window"_qs), nullptr);
}

TEST_F(AtspiReading, AnotherProcessIsNotFound) {
    read();

    EXPECT_EQ(reader.application(1), std::nullopt);
}

TEST_F(AtspiReading, AContainerHasLabelHintAndWhatLiesInIt) {
    const auto program = read();
    const auto* panel = program.find(u"panel"_qs);

    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(panel->name, u"the panel"_qs);
    EXPECT_EQ(panel->description, u"the hint"_qs);
    EXPECT_EQ(panel->children.size(), 3U);
    EXPECT_NE(panel->find(u"label"_qs, u"Ready"_qs), nullptr);
    EXPECT_EQ(panel->find(u"text"_qs), nullptr);
}

TEST_F(AtspiReading, ATextWithoutARoleIsNotThere) {
    EXPECT_FALSE(read().outline().contains(u"without a role"_qs));
}

TEST_F(AtspiReading, AnAnswerHasItsWholeTextBesidesItsName) {
    const auto program = read();
    const auto* answer = program.find(u"text"_qs, u"answer"_qs);

    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer->text, u"the whole answer"_qs);
    EXPECT_TRUE(answer->is(AccessibleState::readOnly));
}

TEST_F(AtspiReading, ANumberIsReadAsAValue) {
    const auto program = read();
    const auto* slider = program.find(u"slider"_qs);

    ASSERT_NE(slider, nullptr);
    EXPECT_EQ(slider->value, 4.0);
}

TEST_F(AtspiReading, WhatIsNotVisibleIsThereButNotShowing) {
    const auto program = read();
    const auto* unseen = program.find(u"label"_qs, u"unseen"_qs);
    const auto* seen = program.find(u"label"_qs, u"Ready"_qs);

    ASSERT_NE(unseen, nullptr);
    ASSERT_NE(seen, nullptr);
    EXPECT_FALSE(unseen->is(AccessibleState::showing));
    EXPECT_TRUE(seen->is(AccessibleState::showing));
}

TEST_F(AtspiReading, AButtonThatHandlesThePressIsPressed) {
    const auto program = read();
    const auto* button = program.find(u"push button"_qs, u"Handled"_qs);

    ASSERT_NE(button, nullptr);
    EXPECT_EQ(button->description, u"does something"_qs);
    EXPECT_TRUE(button->is(AccessibleState::enabled));
    EXPECT_TRUE(reader.press(*button));
    EXPECT_TRUE(waitUntil([&] { return window.pressed() == u"handled "_qs; }));
}

TEST_F(AtspiReading, AStockButtonTakesThePressAndDoesNothing) {
    const auto program = read();
    reader.press(*program.find(u"push button"_qs, u"Stock"_qs));
    reader.press(*program.find(u"push button"_qs, u"Handled"_qs));

    EXPECT_EQ(window.pressed(), u"handled "_qs);
}

TEST_F(AtspiReading, AContainerCannotBePressed) {
    const auto program = read();

    EXPECT_FALSE(reader.press(*program.find(u"panel"_qs)));
}

TEST_F(AtspiReading, AChangedNameIsToldAndRead) {
    read();
    reader.listen(u"object:property-change"_qs);
    window.setStatus(u"Busy"_qs);

    ASSERT_TRUE(waitUntil([&] { return !reader.events(u"PropertyChange"_qs).empty(); }));
    const auto event = reader.events(u"PropertyChange"_qs).front();
    EXPECT_EQ(event.detail, u"accessible-name"_qs);
    EXPECT_EQ(reader.read(event.service, event.path).name, u"Busy"_qs);
}

TEST_F(AtspiReading, WhatIsToComeCanBeWaitedFor) {
    read();
    window.setStatus(u"Done"_qs);

    EXPECT_TRUE(reader.waitForApplication(window.processID(), u"label"_qs, u"Done"_qs));
}

TEST_F(AtspiReading, EventsAreForgottenOnRequest) {
    read();
    reader.listen(u"object:property-change"_qs);
    window.setStatus(u"Busy"_qs);
    waitUntil([&] { return !reader.events().empty(); });
    reader.forgetEvents();

    EXPECT_TRUE(reader.events().empty());
}

} // namespace
} // namespace lumivane::test
