#include "platform/DesktopAccessibilitySettingsFixture.h"

#include <QDBusVariant>

#include <ostream>

namespace lumivane::test {
namespace {

struct Wish {
    QString group;
    QString key;
    QVariant value;
    bool asksForLess = false;
};

void PrintTo(const Wish& wish, std::ostream* out) {
    *out << wish.group.toStdString() << ' ' << wish.key.toStdString() << ' '
         << wish.value.typeName();
}

class MotionWish : public DesktopNeeds, public testing::WithParamInterface<Wish> {};

TEST_P(MotionWish, IsReadAtTheStart) {
    const auto& [group, key, value, asksForLess] = GetParam();
    SettingsPortal portal(bus, PortalSettings{{group, {{key, value}}}});
    Subject subject(bus.connect());
    ASSERT_TRUE(isRead(portal));
    settle(portal, subject);

    EXPECT_EQ(subject.settings.reduceMotion(), asksForLess);
    EXPECT_EQ(subject.changes, asksForLess ? 1 : 0);
}

TEST_P(MotionWish, IsFollowedLive) {
    const auto& [group, key, value, asksForLess] = GetParam();
    SettingsPortal portal(bus, PortalSettings{});
    Subject subject(bus.connect());
    ASSERT_TRUE(isRead(portal));
    portal.change(group, key, value);
    settle(portal, subject);

    EXPECT_EQ(subject.settings.reduceMotion(), asksForLess);
    EXPECT_FALSE(subject.settings.reduceTransparency());
    EXPECT_EQ(subject.changes, asksForLess ? 1 : 0);
}

const auto doubleWrapped =
    QVariant::fromValue(QDBusVariant(QVariant::fromValue(QDBusVariant(false))));

INSTANTIATE_TEST_SUITE_P(
    Motion, MotionWish,
    testing::Values(Wish{appearance, u"reduced-motion"_qs, uint(1), true},
                    Wish{appearance, u"reduced-motion"_qs, uint(0), false},
                    Wish{appearance, u"reduced-motion"_qs, uint(2), false},
                    Wish{appearance, u"reduced-motion"_qs, 1, false},
                    Wish{appearance, u"reduced-motion"_qs, true, false},
                    Wish{appearance, u"reduced-motion"_qs, u"1"_qs, false},
                    Wish{appearance, u"something"_qs, uint(1), false},
                    Wish{gnome, u"enable-animations"_qs, false, true},
                    Wish{gnome, u"enable-animations"_qs, doubleWrapped, true},
                    Wish{gnome, u"enable-animations"_qs, true, false},
                    Wish{gnome, u"enable-animations"_qs, u"false"_qs, false},
                    Wish{gnome, u"enable-animations"_qs, uint(0), false},
                    Wish{gnome, u"enable-animations"_qs, QStringList{u"false"_qs}, false},
                    Wish{kde, u"enable-animations"_qs, false, false},
                    Wish{kde, u"AnimationDurationFactor"_qs, 0.0, true},
                    Wish{kde, u"AnimationDurationFactor"_qs, 0, true},
                    Wish{kde, u"AnimationDurationFactor"_qs, u"0"_qs, true},
                    Wish{kde, u"AnimationDurationFactor"_qs, u"0.5"_qs, false},
                    Wish{kde, u"AnimationDurationFactor"_qs, 1.0, false},
                    Wish{kde, u"AnimationDurationFactor"_qs, u""_qs, false},
                    Wish{kde, u"AnimationDurationFactor"_qs, u"none"_qs, false},
                    Wish{kde, u"AnimationDurationFactor"_qs, false, false}));

class ContrastWish : public DesktopNeeds, public testing::WithParamInterface<Wish> {};

TEST_P(ContrastWish, ReducesTransparency) {
    const auto& [group, key, value, asksForLess] = GetParam();
    SettingsPortal portal(bus, PortalSettings{{group, {{key, value}}}});
    Subject subject(bus.connect());
    ASSERT_TRUE(isRead(portal));
    // Motion serves as the mark behind which the answer has been looked at.
    portal.change(gnome, u"enable-animations"_qs, false);
    ASSERT_TRUE(waitUntil([&] { return subject.settings.reduceMotion(); }));

    EXPECT_EQ(subject.settings.reduceTransparency(), asksForLess);
}

INSTANTIATE_TEST_SUITE_P(
    Contrast, ContrastWish,
    testing::Values(Wish{appearance, u"contrast"_qs, uint(1), true},
                    Wish{appearance, u"contrast"_qs, uint(0), false},
                    Wish{appearance, u"contrast"_qs, uint(7), false},
                    Wish{appearance, u"contrast"_qs, true, false},
                    Wish{gnomeAccessibility, u"high-contrast"_qs, true, true},
                    Wish{gnomeAccessibility, u"high-contrast"_qs, false, false},
                    Wish{gnomeAccessibility, u"high-contrast"_qs, u"true"_qs, false}));

} // namespace
} // namespace lumivane::test
