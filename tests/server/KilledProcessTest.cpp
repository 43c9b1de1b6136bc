#include "server/AccountFixture.h"
#include "server/ChildProgram.h"

#include <array>
#include <cstdio>

namespace lumivane::service::test {

namespace {

class KilledProcessTest : public AccountTest {
protected:
    KilledProcessTest() {
        // The program under test lives by the machine's own clock.
        clock().set(SystemWallClock().now());
    }

    std::string location() { return store().settings().location; }
};

INSTANTIATE_TEST_SUITE_P(Engines, KilledProcessTest, everyEngine(), engineName);

std::string operation(unsigned number) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "00000000-0000-4000-8000-%012u", number);
    return text.data();
}

} // namespace

TEST_P(KilledProcessTest, LosesNothingThatItWasToldIsKept) {
    for (unsigned round = 0; round < 25; ++round) {
        const IssuedLogin made = login();
        ChildProgram program(
            {LUMIVANE_REFRESH_LOOP, "exchange", location(), made.tokens.refreshToken});
        std::string last = made.tokens.refreshToken;
        unsigned number = 0;
        const auto take = [&](const std::string& line) {
            last = line.empty() ? last : line;
            number += line.empty() ? 0 : 1;
            return !line.empty();
        };
        for (unsigned line = 0; line <= round % 7; ++line) {
            ASSERT_TRUE(take(program.readLine()));
        }
        program.kill();
        while (take(program.readLine())) {
        }

        // Whether the next exchange took place or not: asked again it comes to the same.
        const IssuedLogin next = refresh(last, operation(number + 1));
        EXPECT_EQ(refresh(last, operation(number + 1)).tokens.refreshToken,
                  next.tokens.refreshToken);
        ASSERT_EQ(openSessions(), 1);
        const std::string ofOpen = " FROM refresh_tokens t JOIN sessions s ON s.id = t.session_id "
                                   "WHERE s.ended_at IS NULL";
        ASSERT_EQ(store().number("SELECT COUNT(*)" + ofOpen), number + 2);
        ASSERT_EQ(store().number("SELECT COUNT(t.exchanged_at)" + ofOpen), number + 1);
    }
    EXPECT_EQ(endedAs("replayed"), 0);
}

TEST_P(KilledProcessTest, LeavesNothingOfATransactionThatItWasIn) {
    login();
    ChildProgram program({LUMIVANE_REFRESH_LOOP, "hold", location()});
    ASSERT_EQ(program.readLine(), "holding");
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts"), 1);
    program.kill();

    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts"), 1);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM service_secrets WHERE name = 'held'"), 0);
    login();
    EXPECT_EQ(openSessions(), 1);
}

} // namespace lumivane::service::test
