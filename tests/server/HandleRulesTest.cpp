#include "server/profile/HandleRules.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <vector>

namespace lumivane::service {

namespace {

bool nobody(const std::string&) { return false; }

std::uint64_t largest(std::uint64_t bound) { return bound - 1; }

std::string derived(std::string_view name) { return freeHandle(name, nobody, largest); }

} // namespace

TEST(HandleRules, NormalisingTrimsOnceAndTakesLeadingSigns) {
    EXPECT_EQ(normaliseHandle("  @@cedar "), "cedar");
    EXPECT_EQ(normaliseHandle("@ cedar"), " cedar");
    EXPECT_EQ(normaliseHandle("\t\n\u00A0@cedar\u3000"), "cedar");
    EXPECT_EQ(normaliseHandle("ced@r"), "ced@r");
    EXPECT_EQ(normaliseHandle("@@@"), "");
    EXPECT_EQ(normaliseHandle("   "), "");
    EXPECT_EQ(normaliseHandle(""), "");
}

TEST(HandleRules, FoldingLowersAsciiAndNothingElse) {
    EXPECT_EQ(foldHandle("Cedar.AZ_az-09"), "cedar.az_az-09");
    EXPECT_EQ(foldHandle("[\\]^`{@"), "[\\]^`{@");
    EXPECT_EQ(foldHandle("É"), "É");
}

TEST(HandleRules, AHandleHasTwoToThirtyNineCharacters) {
    EXPECT_FALSE(isWellFormedHandle(""));
    EXPECT_FALSE(isWellFormedHandle("a"));
    EXPECT_TRUE(isWellFormedHandle("ab"));
    EXPECT_TRUE(isWellFormedHandle(std::string(39, 'a')));
    EXPECT_FALSE(isWellFormedHandle(std::string(40, 'a')));
}

TEST(HandleRules, EveryByteIsAllowedOrNot) {
    const std::string allowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
    for (int byte = 0; byte < 256; ++byte) {
        const auto character = static_cast<char>(byte);
        EXPECT_EQ(isWellFormedHandle(std::string("a") + character),
                  allowed.find(character) != std::string::npos)
            << byte;
    }
}

TEST(HandleRules, PunctuationMayStandAnywhere) {
    for (const char* handle : {"..", "-_", ".a", "a.", "a..b", "--a--"}) {
        EXPECT_TRUE(isWellFormedHandle(handle)) << handle;
    }
    EXPECT_FALSE(isWellFormedHandle(" cedar"));
    EXPECT_FALSE(isWellFormedHandle("cédar"));
}

TEST(HandleRules, ReservedWordsAreReservedInAnyCase) {
    const std::vector<std::string> words{
        "admin",     "administrator", "root",     "support",  "help",      "security",
        "abuse",     "api",           "www",      "mail",     "smtp",      "lumivane",
        "lumi-vane", "account",       "accounts", "settings", "login",     "logout",
        "signin",    "signup",        "oauth",    "auth",     "me",        "my",
        "system",    "staff",         "official", "null",     "undefined", "none",
        "anonymous", "user",          "users",    "device",   "devices",   "handle",
        "handles",   "profile",       "billing",  "payments", "privacy",   "terms",
        "legal",     "status",        "health",   "healthz",  "livez",     "docs",
        "blog",      "about",         "contact"};
    EXPECT_EQ(std::set(words.begin(), words.end()).size(), 51U);
    for (const std::string& word : words) {
        EXPECT_TRUE(isReservedHandle(word)) << word;
    }
    EXPECT_TRUE(isReservedHandle("ADMIN"));
    EXPECT_TRUE(isReservedHandle("Lumi-Vane"));
    for (const char* free : {"", "adm", "admins", "lumivanes", "@admin", " admin", "contac"}) {
        EXPECT_FALSE(isReservedHandle(free)) << free;
    }
}

TEST(HandleRules, ANameBecomesAHandle) {
    EXPECT_EQ(derived("Cedar"), "cedar");
    EXPECT_EQ(derived("Ada Lovelace"), "ada-lovelace");
    EXPECT_EQ(derived("  Ada \t Lovelace  "), "ada-lovelace");
    EXPECT_EQ(derived("@ada"), "ada");
    EXPECT_EQ(derived("J. R. R. Reed"), "j.r.r.reed");
    EXPECT_EQ(derived("snake_case-9"), "snake_case-9");
    EXPECT_EQ(derived("<b>Ada</b>"), "b-ada-b");
}

TEST(HandleRules, AccentsGoAndTheirLettersStay) {
    EXPECT_EQ(derived("Zoë O'Neil"), "zoe-oneil");
    EXPECT_EQ(derived("Zoe\u0308 O\u2019Neil"), "zoe-oneil");
    EXPECT_EQ(derived("Łukasz Żółw"), "lukasz-zolw");
    EXPECT_EQ(derived("Åse Østby"), "ase-ostby");
    EXPECT_EQ(derived("a×b"), "a-b");
}

TEST(HandleRules, AMailAddressKeepsItsPlaceToItself) {
    EXPECT_EQ(derived("ada.reed@mail.example"), "ada.reed");
    EXPECT_EQ(derived("@ada@mail.example"), "ada");
}

TEST(HandleRules, ANameWithoutLettersOfAHandleGetsAStandInWithANumber) {
    EXPECT_EQ(derived("山田"), "member-9999");
    EXPECT_EQ(derived(""), "member-9999");
    EXPECT_EQ(derived("-._"), "member-9999");
    EXPECT_EQ(derived("😀"), "member-9999");
    EXPECT_EQ(derived(std::string("\0\xFF\xC0", 3)), "member-9999");
    EXPECT_EQ(derived("@example.org"), "example.org");
}

TEST(HandleRules, AShortOrReservedStemGetsANumber) {
    EXPECT_EQ(derived("A"), "a-9999");
    EXPECT_EQ(derived("Admin"), "admin-9999");
    EXPECT_EQ(derived("Lumi Vane"), "lumi-vane-9999");
}

TEST(HandleRules, ALongNameIsCutSoThatTheLongestNumberFits) {
    EXPECT_EQ(derived(std::string(100, 'x')), std::string(28, 'x'));
    const std::string words = "abcdefghijklmnopqrstuvwxyza bcd";
    EXPECT_EQ(derived(words), "abcdefghijklmnopqrstuvwxyza");

    int asked = 0;
    const auto takenSixTimes = [&asked](const std::string&) { return ++asked <= 6; };
    const std::string handle = freeHandle(std::string(100, 'x'), takenSixTimes, largest);
    EXPECT_EQ(handle, std::string(28, 'x') + "-9999999999");
    EXPECT_EQ(handle.size(), handleMaximumLength);
}

TEST(HandleRules, ATakenHandleGetsANumberThatGrows) {
    std::vector<std::string> asked;
    const auto taken = [&asked](const std::string& folded) {
        asked.push_back(folded);
        return asked.size() < 6;
    };
    EXPECT_EQ(freeHandle("Cedar", taken, largest), "cedar-9999999999");
    EXPECT_EQ(asked, (std::vector<std::string>{"cedar", "cedar-9999", "cedar-9999", "cedar-999999",
                                               "cedar-999999", "cedar-9999999999"}));
}

TEST(HandleRules, NoHandleForEverTakenIsLookedForWithoutEnd) {
    int asked = 0;
    const auto always = [&asked](const std::string&) { return ++asked > 0; };
    EXPECT_THROW(freeHandle("Cedar", always, largest), std::runtime_error);
    EXPECT_EQ(asked, 8);
}

TEST(HandleRules, WhateverTheNameTheHandleKeepsTheRules) {
    std::uint64_t state = 12345;
    const auto next = [&state](std::uint64_t bound) {
        state = state * 6364136223846793005U + 1442695040888963407U;
        return (state >> 33U) % bound;
    };
    for (int round = 0; round < 10'000; ++round) {
        std::string name;
        for (std::uint64_t left = next(60); left > 0; --left) {
            name += static_cast<char>(next(256));
        }
        const std::string handle = freeHandle(name, nobody, next);
        ASSERT_TRUE(isWellFormedHandle(handle)) << handle;
        ASSERT_FALSE(isReservedHandle(handle)) << handle;
        ASSERT_EQ(foldHandle(handle), handle);
    }
}

TEST(HandleRules, TheMachinesRandomnessStaysBelowItsBound) {
    std::set<std::uint64_t> seen;
    for (int round = 0; round < 200; ++round) {
        const std::uint64_t number = randomBelow(4);
        ASSERT_LT(number, 4U);
        seen.insert(number);
    }
    EXPECT_EQ(seen.size(), 4U);
}

} // namespace lumivane::service
