#include "accounts/ProfileFieldState.h"

#include <gtest/gtest.h>

#include <vector>

namespace lumivane {

namespace {

struct Row {
    ProfileFieldState state;
    QString spoken;
    std::optional<QString> message;
};

const std::vector<Row>& rows() {
    static const std::vector<Row> table{
        {ProfileFieldState::reverted(u"ada"_qs), u"Reverted"_qs, u"Reverted to @ada"_qs},
        {ProfileFieldState::conflicted(u"ada"_qs), u"Taken"_qs,
         u"@ada was taken while you were typing"_qs},
        {ProfileFieldState::failed(u"A ready message."_qs), u"Not saved"_qs,
         u"A ready message."_qs},
        {ProfileFieldState::idle(), u"Idle"_qs, std::nullopt},
        {ProfileFieldState::editing(), u"Editing"_qs, std::nullopt},
        {ProfileFieldState::invalidFormat(), u"Invalid"_qs,
         u"2\u201339 letters, digits, dot, hyphen or underscore"_qs},
        {ProfileFieldState::reserved(), u"Reserved"_qs, u"That handle is reserved"_qs},
        {ProfileFieldState::checking(), u"Checking"_qs, u"Checking\u2026"_qs},
        {ProfileFieldState::available(), u"Available"_qs, u"Available"_qs},
        {ProfileFieldState::taken(), u"Taken"_qs, u"Taken"_qs},
        {ProfileFieldState::saving(), u"Saving"_qs, u"Saving\u2026"_qs},
        {ProfileFieldState::saved(), u"Saved"_qs, u"Saved"_qs},
    };
    return table;
}

} // namespace

TEST(ProfileFieldState, SpeaksAndShowsItsWords) {
    ASSERT_EQ(rows().size(), 12U);
    for (std::size_t index = 0; index < rows().size(); ++index) {
        const Row& row = rows()[index];
        EXPECT_EQ(static_cast<std::size_t>(row.state.stateCase()), index);
        EXPECT_EQ(row.state.spokenValue(), row.spoken);
        EXPECT_EQ(row.state.message(), row.message);
    }
}

TEST(ProfileFieldState, EqualityLooksAtCaseAndText) {
    for (const Row& one : rows()) {
        for (const Row& other : rows()) {
            EXPECT_EQ(one.state == other.state, &one == &other);
        }
    }
    EXPECT_NE(ProfileFieldState::reverted(u"a"_qs), ProfileFieldState::reverted(u"b"_qs));
    EXPECT_EQ(ProfileFieldState::reverted(u"a"_qs), ProfileFieldState::reverted(u"a"_qs));
}

} // namespace lumivane
