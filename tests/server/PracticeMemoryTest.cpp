#include "server/memory/PracticeMemory.h"

#include "server/NoisyScreen.h"
#include "server/TemporaryFolder.h"
#include "support/ThreadTime.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <thread>

namespace lumivane::service {

using namespace std::chrono_literals;
using test::NoisyScreen;
using test::TemporaryFolder;

namespace {

struct Screen {
    std::string name;
    std::string text;
};

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Screens stand behind lines of "=== name".
std::vector<Screen> screensIn(const std::string& name) {
    std::ifstream file(std::string(LUMIVANE_TEST_DATA) + "/practice/" + name + ".txt");
    std::vector<Screen> screens;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("=== ")) {
            screens.push_back({line.substr(4), {}});
        } else {
            screens.back().text += line + "\n";
        }
    }
    return screens;
}

const PracticeMemory& memory() {
    static const auto opened = PracticeMemory::open(LUMIVANE_PRACTICE_MEMORY);
    return *opened;
}

std::string titleOn(const std::string& text) {
    const auto found = memory().match(text);
    return found ? found->title : "none";
}

using Noise = std::function<std::string(const Screen&, std::uint32_t seed)>;

struct Outcome {
    std::size_t right = 0;
    std::size_t wrong = 0; ///< another exercise
    std::size_t missed = 0;

    std::size_t all() const { return right + wrong + missed; }
};

Outcome outcomeOf(const std::vector<Screen>& screens, const Noise& noise) {
    Outcome outcome;
    std::uint32_t seed = 0;
    for (const Screen& screen : screens) {
        const std::string title = titleOn(noise(screen, ++seed));
        outcome.right += title == screen.name ? 1 : 0;
        outcome.missed += title == "none" ? 1 : 0;
        outcome.wrong += title != screen.name && title != "none" ? 1 : 0;
        if (title != screen.name) {
            std::cout << "  " << screen.name << " taken for " << title << "\n";
        }
    }
    std::cout << outcome.right << " right, " << outcome.missed << " missed, " << outcome.wrong
              << " wrong\n";
    return outcome;
}

} // namespace

TEST(PracticeMemory, KnowsEveryExerciseByItsCleanScreen) {
    const auto screens = screensIn("exercises");
    EXPECT_EQ(screens.size(), memory().size());
    EXPECT_GE(memory().size(), 20U);
    EXPECT_EQ(
        outcomeOf(screens, [](const Screen& screen, std::uint32_t) { return screen.text; }).right,
        screens.size());
}

TEST(PracticeMemory, KnowsExercisesAsOtherSitesShowThem) {
    const auto screens = screensIn("sites");
    EXPECT_EQ(
        outcomeOf(screens, [](const Screen& screen, std::uint32_t) { return screen.text; }).right,
        screens.size());
}

TEST(PracticeMemory, ScrolledScreensAreKnownByStatementAndSignature) {
    const auto screens = screensIn("exercises");
    const auto outcome = outcomeOf(screens, [](const Screen& screen, std::uint32_t) {
        return test::withoutTitle(screen.text, screen.name);
    });
    EXPECT_EQ(outcome.wrong, 0U);
    EXPECT_EQ(outcome.missed, 0U);
}

TEST(PracticeMemory, DroppedLettersAreReadOver) {
    const auto screens = screensIn("exercises");
    const auto outcome = outcomeOf(screens, [](const Screen& screen, std::uint32_t seed) {
        return NoisyScreen(seed).withDroppedLetters(screen.text, 40);
    });
    EXPECT_EQ(outcome.wrong, 0U);
    EXPECT_LE(outcome.missed, 1U);
}

TEST(PracticeMemory, ManyDroppedLettersLoseFewScreensAndNeverGiveAnother) {
    const auto screens = screensIn("exercises");
    const auto outcome = outcomeOf(screens, [](const Screen& screen, std::uint32_t seed) {
        return NoisyScreen(seed).withDroppedLetters(screen.text, 18);
    });
    EXPECT_EQ(outcome.wrong, 0U);
    EXPECT_LE(outcome.missed, 4U);
}

TEST(PracticeMemory, LookalikesAreReadOver) {
    const auto screens = screensIn("exercises");
    const auto outcome = outcomeOf(screens, [](const Screen& screen, std::uint32_t seed) {
        return NoisyScreen(seed).withLookalikes(screen.text, 6);
    });
    EXPECT_EQ(outcome.right, outcome.all());
}

TEST(PracticeMemory, SplitLinesAreReadOver) {
    const auto screens = screensIn("exercises");
    const auto outcome = outcomeOf(screens, [](const Screen& screen, std::uint32_t seed) {
        return NoisyScreen(seed).withSplitLines(screen.text, 4);
    });
    EXPECT_EQ(outcome.wrong, 0U);
    EXPECT_LE(outcome.missed, 1U);
}

TEST(PracticeMemory, JoinedWordsAreReadOver) {
    const auto screens = screensIn("exercises");
    const auto outcome = outcomeOf(screens, [](const Screen& screen, std::uint32_t seed) {
        return NoisyScreen(seed).withJoinedWords(screen.text, 12);
    });
    EXPECT_EQ(outcome.wrong, 0U);
    EXPECT_LE(outcome.missed, 1U);
}

TEST(PracticeMemory, AllNoiseAtOnce) {
    const auto screens = screensIn("exercises");
    const auto outcome = outcomeOf(screens, [](const Screen& screen, std::uint32_t seed) {
        NoisyScreen noise(seed + 100);
        return noise.withSplitLines(
            noise.withLookalikes(noise.withDroppedLetters(screen.text, 40), 20), 10);
    });
    EXPECT_EQ(outcome.wrong, 0U);
    EXPECT_LE(outcome.missed, 2U);
}

TEST(PracticeMemory, OtherExercisesAndOtherScreensAreNone) {
    const auto screens = screensIn("foreign");
    EXPECT_GE(screens.size(), 40U);
    for (const Screen& screen : screens) {
        EXPECT_EQ(titleOn(screen.text), "none") << screen.name;
    }
}

TEST(PracticeMemory, NoiseMakesNoExerciseOutOfAnother) {
    const auto screens = screensIn("foreign");
    std::uint32_t seed = 0;
    for (const Screen& screen : screens) {
        NoisyScreen noise(++seed);
        EXPECT_EQ(titleOn(noise.withDroppedLetters(screen.text, 30)), "none") << screen.name;
        EXPECT_EQ(titleOn(noise.withSplitLines(screen.text, 6)), "none") << screen.name;
    }
}

TEST(PracticeMemory, OtherExercisesWithoutNumberOrTitleAreNone) {
    for (const Screen& screen : screensIn("foreign")) {
        const auto begin = screen.text.find_first_not_of("0123456789. ");
        EXPECT_EQ(titleOn(screen.text.substr(begin)), "none") << screen.name;
        EXPECT_EQ(titleOn(screen.text.substr(screen.text.find('\n') + 1)), "none") << screen.name;
    }
}

// The figures by which the bars in ExerciseMatch.h were set: precision before all, since a wrong
// answer would call itself checked.
class PracticeMemoryFigures : public testing::Test {
protected:
    // One letter in `rarity` is lost, one is taken for another, lines end where they should not.
    void measure(std::uint32_t rarity) {
        constexpr std::uint32_t seeds = 8;
        for (std::uint32_t seed = 1000; seed < 1000 + seeds; ++seed) {
            const auto noisy = [&](const Screen& screen) {
                NoisyScreen noise(seed);
                return noise.withSplitLines(
                    noise.withLookalikes(noise.withDroppedLetters(screen.text, rarity), rarity),
                    rarity / 2);
            };
            for (const Screen& screen : known) {
                count(titleOn(noisy(screen)), screen.name);
            }
            for (const Screen& screen : foreign) {
                count(titleOn(noisy(screen)), "none");
            }
        }
        std::cout << "one in " << rarity << ": precision " << right << "/" << right + wrong
                  << ", recall " << right << "/" << shown << "\n";
    }

    void count(const std::string& title, const std::string& expected) {
        shown += expected != "none" ? 1 : 0;
        right += title == expected && title != "none" ? 1 : 0;
        wrong += title != expected && title != "none" ? 1 : 0;
        if (title != expected && title != "none") {
            std::cout << "  wrong: " << title << "\n";
        }
    }

    std::vector<Screen> known = screensIn("exercises");
    std::vector<Screen> foreign = screensIn("foreign");
    std::size_t shown = 0;
    std::size_t right = 0;
    std::size_t wrong = 0;
};

TEST_F(PracticeMemoryFigures, OfScreensAsTheyAreUsuallyRead) {
    measure(60);
    EXPECT_EQ(wrong, 0U);
    EXPECT_GE(right * 100, shown * 98);
}

TEST_F(PracticeMemoryFigures, OfScreensReadBadly) {
    measure(25);
    EXPECT_LE(wrong * 100, right * 2);
    EXPECT_GE(right * 100, shown * 95);
}

TEST(PracticeMemory, AnAnswerIsTheWholeWorkedExercise) {
    const auto found = memory().match("1. Two Sum\nnums target, add up to target, indices\n"
                                      "def twoSum(self, nums, target):");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->title, "Two Sum");
    EXPECT_EQ(found->answer.find("# Two Sum\n**Status:** "), 0U);
    EXPECT_NE(found->answer.find("\n## 3. One pass with a dictionary\n"), std::string::npos);
    EXPECT_NE(found->answer.find("\n- Time: O(n)\n"), std::string::npos);
    EXPECT_NE(found->answer.find("\n## Pitfalls\n- "), std::string::npos);
}

TEST(PracticeMemory, SeveralExercisesOnOneScreenAreNone) {
    const auto screens = screensIn("exercises");
    EXPECT_EQ(titleOn(screens[0].text + "\n" + screens[1].text), "none");
}

TEST(PracticeMemory, ATitleAloneIsNoExercise) {
    EXPECT_EQ(titleOn("1. Two Sum"), "none");
    EXPECT_EQ(titleOn("Two Sum\nRun   Submit"), "none");
    EXPECT_EQ(titleOn(""), "none");
    EXPECT_EQ(titleOn("twoSum("), "none");
}

// Shapes that would cost a careless reading the square of their length.
TEST(PracticeMemory, HostileTextIsReadInBoundedTime) {
    for (const std::string part :
         {"a ", "sum ", "two sum\n", "1. Two Sum\n", "target nums ", "\n", "twoSum(", "aB", "a   ",
          " | ", "\"", "\xFF", "日", "é", "retum "}) {
        std::string text;
        while (text.size() < 192'000) {
            text += part;
        }
        const auto started = lumivane::test::threadTime();
        memory().match(text);
        EXPECT_LT(lumivane::test::threadTime() - started, 2s) << part;
    }
}

TEST(PracticeMemory, ManyThreadsMayAskAtOnce) {
    const auto screens = screensIn("exercises");
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&screens] {
            for (const Screen& screen : screens) {
                EXPECT_EQ(titleOn(screen.text), screen.name);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

class PracticeMemoryFile : public testing::Test {
protected:
    std::string errorOf(const std::string& content) const {
        const auto path = folder.path() / "memory";
        std::ofstream(path, std::ios::binary) << content;
        return errorAt(path);
    }

    static std::string errorAt(const std::filesystem::path& path) {
        try {
            PracticeMemory::open(path);
        } catch (const PracticeMemoryError& error) {
            return error.what();
        }
        return "opened";
    }

    TemporaryFolder folder;
    std::string whole = contentOf(LUMIVANE_PRACTICE_MEMORY);
};

TEST_F(PracticeMemoryFile, AMissingFileOrAFolderIsNotThere) {
    EXPECT_EQ(errorAt(folder.path() / "none"), "it is not there");
    EXPECT_EQ(errorAt(folder.path()), "it is not there");
}

TEST_F(PracticeMemoryFile, OtherFilesAreRefused) {
    EXPECT_EQ(errorOf(whole), "opened");
    EXPECT_EQ(errorOf(""), "it is no practice memory");
    EXPECT_EQ(errorOf("words and words, no database"), "it cannot be read, or is damaged");
    EXPECT_EQ(errorOf(whole.substr(0, 100)), "it cannot be read, or is damaged");
}

TEST_F(PracticeMemoryFile, AnotherVersionIsRefused) {
    std::string other = whole;
    other[63] = 99; // the last byte of the user's version in the header
    EXPECT_EQ(errorOf(other), "it was made by another version");
}

TEST_F(PracticeMemoryFile, EveryCutIsNoticed) {
    for (std::size_t size = whole.size() / 8; size < whole.size(); size += whole.size() / 8) {
        EXPECT_NE(errorOf(whole.substr(0, size)), "opened") << size;
    }
}

// A byte of an answer leaves the database whole.
TEST_F(PracticeMemoryFile, AChangedWordIsNoticed) {
    std::string changed = whole;
    const auto at = changed.find("One pass with a dictionary");
    ASSERT_NE(at, std::string::npos);
    changed[at] = 'Z';
    EXPECT_EQ(errorOf(changed), "it is damaged");
}

TEST_F(PracticeMemoryFile, OverwrittenPagesAreNoticed) {
    for (std::size_t at = 4096; at + 4096 <= whole.size(); at += 4096) {
        std::string broken = whole;
        broken.replace(at, 4096, std::string(4096, '\xA5'));
        EXPECT_NE(errorOf(broken), "opened") << at;
    }
}

TEST_F(PracticeMemoryFile, ReadingLeavesNothingBesideTheFile) {
    const auto path = folder.path() / "a b%20?#ö";
    std::ofstream(path, std::ios::binary) << whole;
    const auto opened = PracticeMemory::open(path);
    EXPECT_TRUE(opened->match(screensIn("exercises")[3].text));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

} // namespace lumivane::service
