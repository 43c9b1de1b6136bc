#include "MachineFolder.h"
#include "platform/DeviceFacts.h"
#include "platform/linux/LinuxDeviceFacts.h"
#include "support/FakeDeviceFacts.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace lumivane {

namespace {

/// A portable machine by the name of Studio, and the same with nothing known of it.
class Machine {
public:
    virtual ~Machine() = default;
    virtual DeviceFacts& facts() = 0;
};

class FakeMachine final : public Machine {
public:
    explicit FakeMachine(bool isKnown) {
        m_facts.battery = isKnown;
        m_facts.model = u"20XW"_qs;
        if (!isKnown) {
            m_facts.name.reset();
            m_facts.model.reset();
            m_facts.host.clear();
        }
    }

    DeviceFacts& facts() override { return m_facts; }

private:
    test::FakeDeviceFacts m_facts;
};

class LinuxMachine final : public Machine {
public:
    explicit LinuxMachine(bool isKnown) {
        if (isKnown) {
            m_folder.write(u"etc/machine-info"_qs, "PRETTY_HOSTNAME=Studio\n");
            m_folder.write(u"etc/hostname"_qs, "studio.local\n");
            m_folder.write(u"sys/class/dmi/id/product_name"_qs, "20XW\n");
            m_folder.addSupply(u"BAT0"_qs, "Battery\n");
        }
    }

    DeviceFacts& facts() override { return m_facts; }

private:
    test::MachineFolder m_folder;
    LinuxDeviceFacts m_facts{m_folder.path()};
};

struct Kind {
    std::string name;
    std::function<std::unique_ptr<Machine>(bool isKnown)> make;
};

} // namespace

class DeviceFactsContract : public testing::TestWithParam<Kind> {};

TEST_P(DeviceFactsContract, WhatIsKnownIsTold) {
    const auto machine = GetParam().make(true);
    EXPECT_EQ(machine->facts().computerName({}), u"Studio"_qs);
    EXPECT_EQ(machine->facts().hostName(), u"studio.local"_qs);
    EXPECT_EQ(machine->facts().hardwareModel(), u"20XW"_qs);
    EXPECT_TRUE(machine->facts().hasInternalBattery());
}

TEST_P(DeviceFactsContract, WhatIsNotKnownIsAbsent) {
    const auto machine = GetParam().make(false);
    EXPECT_EQ(machine->facts().computerName({}), std::nullopt);
    EXPECT_EQ(machine->facts().hostName(), QString());
    EXPECT_EQ(machine->facts().hardwareModel(), std::nullopt);
    EXPECT_FALSE(machine->facts().hasInternalBattery());
    EXPECT_FALSE(machine->facts().systemVersion().name.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    All, DeviceFactsContract,
    testing::Values(
        Kind{"Fake", [](bool isKnown) { return std::make_unique<FakeMachine>(isKnown); }},
        Kind{"Linux", [](bool isKnown) { return std::make_unique<LinuxMachine>(isKnown); }}),
    [](const auto& info) { return info.param.name; });

} // namespace lumivane
