#include "accounts/HandleFieldFixture.h"

namespace lumivane {

/// How the filter of taken handles comes in.
class HandleFieldFilterTest : public test::HandleFieldFixture {
protected:
    std::vector<std::optional<QString>> knownVersions() const {
        std::vector<std::optional<QString>> versions;
        for (const auto& request : service.requestsTo(u"handleFilter"_qs)) {
            versions.push_back(request.knownVersion);
        }
        return versions;
    }

    void prime(Loading loading = Loading::ifNeeded) { run(field->primeFilter(loading)); }
};

TEST_F(HandleFieldFilterTest, TheFilterIsFetchedOncePerSession) {
    service.filterScript.answerWith(filter(false));
    prime();
    prime();
    EXPECT_EQ(knownVersions(), (std::vector<std::optional<QString>>{std::nullopt}));
    EXPECT_EQ(service.requests.front().token, "access-0");
    EXPECT_EQ(checker.snapshotVersion(), u"v1"_qs);
    type(u"cedar"_qs);
    EXPECT_EQ(state(), State::available());
}

TEST_F(HandleFieldFilterTest, ForcedItIsAskedForAgainWithItsVersion) {
    service.filterScript.answerWith(filter(false, u"v1"_qs));
    prime();
    service.filterScript.answerWith(filter(true, u"v2"_qs));
    prime(Loading::again);
    EXPECT_EQ(knownVersions(), (std::vector<std::optional<QString>>{std::nullopt, u"v1"_qs}));
    EXPECT_EQ(checker.snapshotVersion(), u"v2"_qs);
}

TEST_F(HandleFieldFilterTest, UnchangedLeavesTheFilterAndNoFilterRemovesIt) {
    service.filterScript.answerWith(filter(false));
    prime();
    service.filterScript.answerWith(HandleFilterUnchanged());
    prime(Loading::again);
    EXPECT_EQ(checker.snapshotVersion(), u"v1"_qs);
    service.filterScript.answerWith(HandleFilterUnavailable());
    prime(Loading::again);
    EXPECT_FALSE(checker.hasSnapshot());
    EXPECT_EQ(knownVersions().size(), 3U);
}

TEST_F(HandleFieldFilterTest, AFailureIsSilentAndNotTriedAgainByItself) {
    for (const Case errorCase : {Case::unavailable, Case::expiredSession, Case::invalidResponse}) {
        service.filterScript.failWith(AuthenticationError(errorCase));
        prime(Loading::again);
    }
    service.filterScript.failWith(Cancelled{});
    prime(Loading::again);
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_EQ(status.state(), signedInAs(service.user));
    EXPECT_EQ(state(), State::idle());
    service.filterScript.answerWith(filter(false));
    prime();
    EXPECT_FALSE(checker.hasSnapshot());
    EXPECT_EQ(knownVersions().size(), 4U);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(HandleFieldFilterTest, AFailureKeepsTheFilterThatWasThere) {
    service.filterScript.answerWith(filter(false));
    prime();
    service.filterScript.failWith(AuthenticationError(Case::unavailable));
    prime(Loading::again);
    EXPECT_EQ(checker.snapshotVersion(), u"v1"_qs);
}

TEST_F(HandleFieldFilterTest, WhileItIsUnderWayItCountsAsFetched) {
    service.filterScript.hold();
    start(field->primeFilter(Loading::ifNeeded));
    prime();
    EXPECT_EQ(knownVersions().size(), 1U);
    service.filterScript.release(0, filter(false));
    test::drainEvents();
    EXPECT_TRUE(checker.hasSnapshot());
}

TEST_F(HandleFieldFilterTest, UnlessSignedInNothingIsFetchedNorCountedAsFetched) {
    status.setState(AuthenticationState::refreshing());
    prime();
    prime(Loading::again);
    EXPECT_TRUE(service.requests.empty());
    status.setState(signedInAs(service.user));
    prime();
    EXPECT_EQ(knownVersions().size(), 1U);
}

TEST_F(HandleFieldFilterTest, TheFilterNeverAsksForTheKeyring) {
    letTheTokenAge();
    service.filterScript.answerWith(filter(false));
    prime();
    EXPECT_EQ(service.requestsTo(u"handleFilter"_qs).front().token, "access-1");
    EXPECT_EQ(store.savePrompts, std::vector(2, UnlockPrompt::never));
}

TEST_F(HandleFieldFilterTest, TheEndOfTheSessionTakesTheFilterWithItAndTheNextFetchesItsOwn) {
    service.filterScript.answerWith(filter(false));
    prime();
    signOut();
    EXPECT_FALSE(checker.hasSnapshot());
    signIn();
    service.filterScript.answerWith(filter(false, u"v2"_qs));
    prime();
    EXPECT_EQ(knownVersions(), (std::vector<std::optional<QString>>{std::nullopt}));
    EXPECT_EQ(checker.snapshotVersion(), u"v2"_qs);
}

TEST_F(HandleFieldFilterTest, AFilterOfAnEndedSessionIsDropped) {
    service.filterScript.hold();
    const auto outcome = start(field->primeFilter(Loading::ifNeeded));
    signOut();
    signIn();
    service.filterScript.release(0, filter(false));
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_FALSE(checker.hasSnapshot());
}

TEST_F(HandleFieldFilterTest, SignOutWhileTheTokenIsFetchedFetchesNoFilter) {
    letTheTokenAge();
    service.refreshAnswer.hold();
    const auto outcome = start(field->primeFilter(Loading::ifNeeded));
    signOut();
    EXPECT_TRUE(outcome->value);
    EXPECT_TRUE(knownVersions().empty());
    service.refreshAnswer.cancelPending();
}

TEST_F(HandleFieldFilterTest, AFetchThatOutlivesItsOwnerTouchesNothing) {
    service.filterScript.hold();
    const auto outcome = start(field->primeFilter(Loading::ifNeeded));
    field.reset();
    service.filterScript.release(0, filter(false));
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_FALSE(checker.hasSnapshot());
}

} // namespace lumivane
