#include "triggers/KeyCodes.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace lumivane {

TEST(KeyCodes, EveryKeyHasItsCode) {
    const std::map<QString, std::uint32_t> expected{
        {u"A"_qs, 0},  {u"S"_qs, 1},  {u"D"_qs, 2},  {u"F"_qs, 3},  {u"H"_qs, 4},   {u"G"_qs, 5},
        {u"Z"_qs, 6},  {u"X"_qs, 7},  {u"C"_qs, 8},  {u"V"_qs, 9},  {u"B"_qs, 11},  {u"Q"_qs, 12},
        {u"W"_qs, 13}, {u"E"_qs, 14}, {u"R"_qs, 15}, {u"Y"_qs, 16}, {u"T"_qs, 17},  {u"1"_qs, 18},
        {u"2"_qs, 19}, {u"3"_qs, 20}, {u"4"_qs, 21}, {u"6"_qs, 22}, {u"5"_qs, 23},  {u"="_qs, 24},
        {u"9"_qs, 25}, {u"7"_qs, 26}, {u"-"_qs, 27}, {u"8"_qs, 28}, {u"0"_qs, 29},  {u"]"_qs, 30},
        {u"O"_qs, 31}, {u"U"_qs, 32}, {u"["_qs, 33}, {u"I"_qs, 34}, {u"P"_qs, 35},  {u"L"_qs, 37},
        {u"J"_qs, 38}, {u"'"_qs, 39}, {u"K"_qs, 40}, {u";"_qs, 41}, {u"\\"_qs, 42}, {u","_qs, 43},
        {u"/"_qs, 44}, {u"N"_qs, 45}, {u"M"_qs, 46}, {u"."_qs, 47}, {u"`"_qs, 50},
    };
    ASSERT_EQ(expected.size(), 47U);
    EXPECT_EQ(keyCodes.size(), expected.size());
    for (const auto& [name, code] : expected) {
        EXPECT_EQ(keyCode(name), code) << name.toStdString();
    }
}

TEST(KeyCodes, NoCodeIsGivenTwice) {
    std::set<std::uint32_t> codes;
    for (const KeyCodeRow& row : keyCodes) {
        codes.insert(row.code);
    }
    EXPECT_EQ(codes.size(), keyCodes.size());
}

TEST(KeyCodes, NamesOutsideTheTableHaveNoCode) {
    for (const QString& name :
         {u""_qs, u"s"_qs, u"F5"_qs, u"SPACE"_qs, u" "_qs, u"RETURN"_qs, u"LEFT"_qs, u"SS"_qs,
          u"Ä"_qs, u"Ж"_qs, u"+"_qs, u"\U0001D400"_qs, u"S "_qs}) {
        EXPECT_EQ(keyCode(name), std::nullopt) << name.toStdString();
    }
}

} // namespace lumivane
