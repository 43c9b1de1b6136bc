#include "platform/linux/LinuxDeviceFacts.h"

#include "MachineFolder.h"

#include <gtest/gtest.h>

namespace lumivane {

class LinuxDeviceFactsTest : public testing::Test {
protected:
    void release(const QByteArray& content) { machine.write(u"etc/os-release"_qs, content); }

    test::MachineFolder machine;
    LinuxDeviceFacts facts{machine.path()};
};

TEST_F(LinuxDeviceFactsTest, AnEmptyMachineHasNoFacts) {
    EXPECT_EQ(facts.computerName({}), std::nullopt);
    EXPECT_EQ(facts.hostName(), u"");
    EXPECT_EQ(facts.hardwareModel(), std::nullopt);
    EXPECT_FALSE(facts.hasInternalBattery());
    EXPECT_EQ(facts.systemVersion(), (SystemVersion{u"Linux"_qs, QString(), QString()}));
}

TEST_F(LinuxDeviceFactsTest, TheComputersNameIsThePrettyOne) {
    machine.write(u"etc/hostname"_qs, "studio\n");
    EXPECT_EQ(facts.computerName({}), std::nullopt);
    machine.write(u"etc/machine-info"_qs,
                  "CHASSIS=laptop\nPRETTY_HOSTNAME=\"J\xC3\xB6rg's Studio\"\n");
    EXPECT_EQ(facts.computerName({}), u"Jörg's Studio"_qs);
    machine.write(u"etc/machine-info"_qs, "PRETTY_HOSTNAME=\" \"\n");
    EXPECT_EQ(facts.computerName({}), std::nullopt);
    machine.write(u"etc/machine-info"_qs, "PRETTY_HOSTNAME=" + QByteArray(5000, 'x') + '\n');
    EXPECT_EQ(facts.computerName({})->size(), 1024);
}

TEST_F(LinuxDeviceFactsTest, TheNameOnTheNetworkIsTheRunningOne) {
    machine.write(u"etc/hostname"_qs, "configured\n");
    EXPECT_EQ(facts.hostName(), u"configured");
    machine.write(u"proc/sys/kernel/hostname"_qs, "running\n");
    EXPECT_EQ(facts.hostName(), u"running");
    machine.write(u"proc/sys/kernel/hostname"_qs, "(none)\n");
    EXPECT_EQ(facts.hostName(), u"configured");
}

TEST_F(LinuxDeviceFactsTest, TheModelIsTheFirmwaresOrTheDeviceTrees) {
    machine.write(u"sys/firmware/devicetree/base/model"_qs, QByteArray("Board 4\0", 8));
    EXPECT_EQ(facts.hardwareModel(), u"Board 4"_qs);
    machine.write(u"sys/class/dmi/id/product_name"_qs, "MacBookPro18,3\n");
    EXPECT_EQ(facts.hardwareModel(), u"MacBookPro18,3"_qs);
    machine.write(u"sys/class/dmi/id/product_name"_qs, " \n");
    EXPECT_EQ(facts.hardwareModel(), u"Board 4"_qs);
    machine.write(u"sys/class/dmi/id/product_name"_qs, "\xFF\n");
    EXPECT_EQ(facts.hardwareModel(), u"Board 4"_qs);
}

TEST_F(LinuxDeviceFactsTest, OnlyABatteryOfTheMachineCounts) {
    machine.addSupply(u"AC"_qs, "Mains\n");
    machine.addSupply(u"ups"_qs, "UPS\n");
    machine.addSupply(u"usb"_qs, "USB\n");
    machine.addSupply(u"hidpp_battery_0"_qs, "Battery\n", "Device\n", "1\n");
    machine.addSupply(u"BAT9"_qs, "Battery\n", "System\n", "0\n");
    machine.addSupply(u"odd"_qs, "battery\n");
    EXPECT_FALSE(facts.hasInternalBattery());
    machine.addSupply(u"BAT0"_qs, "Battery\n", "System\n", "1\n");
    EXPECT_TRUE(facts.hasInternalBattery());
}

TEST_F(LinuxDeviceFactsTest, ABatteryThatSaysNothingMoreIsTheMachines) {
    machine.addSupply(u"BAT0"_qs, "Battery\n");
    EXPECT_TRUE(facts.hasInternalBattery());
}

TEST_F(LinuxDeviceFactsTest, TheSystemIsNamedAsItNamesItself) {
    release("PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nNAME=\"Debian GNU/Linux\"\n"
            "VERSION_ID=\"12\"\nID=debian\n");
    EXPECT_EQ(facts.systemVersion(), (SystemVersion{u"Debian GNU/Linux"_qs, u"12"_qs, QString()}));
    release("NAME=Ubuntu\nVERSION_ID=\"22.04\"\n");
    EXPECT_EQ(facts.systemVersion(), (SystemVersion{u"Ubuntu"_qs, u"22"_qs, u"04"_qs}));
    release("NAME=X\nVERSION_ID=1.2.3-rc1\n");
    EXPECT_EQ(facts.systemVersion(), (SystemVersion{u"X"_qs, u"1"_qs, u"2"_qs}));
    release("VERSION_ID=7\n");
    EXPECT_EQ(facts.systemVersion(), (SystemVersion{u"Linux"_qs, u"7"_qs, QString()}));
}

TEST_F(LinuxDeviceFactsTest, TheSystemsOwnCopyServesWhereThereIsNoOther) {
    machine.write(u"usr/lib/os-release"_qs, "NAME=Y\nVERSION_ID=3.1\n");
    EXPECT_EQ(facts.systemVersion(), (SystemVersion{u"Y"_qs, u"3"_qs, u"1"_qs}));
    release("NAME=Z\nVERSION_ID=4.2\n");
    EXPECT_EQ(facts.systemVersion(), (SystemVersion{u"Z"_qs, u"4"_qs, u"2"_qs}));
}

TEST_F(LinuxDeviceFactsTest, ASystemWithoutANumberGoesByItsKernel) {
    machine.write(u"proc/sys/kernel/osrelease"_qs, "6.1.0-18-amd64\n");
    for (const auto* content : {"NAME=\"Arch Linux\"\nBUILD_ID=rolling\n", "VERSION_ID=sid\n",
                                "VERSION_ID=1234567\n", "VERSION_ID=\xD9\xA3\n", ""}) {
        release(content);
        EXPECT_EQ(facts.systemVersion(), (SystemVersion{u"Linux"_qs, u"6"_qs, u"1"_qs})) << content;
    }
}

} // namespace lumivane
