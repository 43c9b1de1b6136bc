#include "server/store/GroupedWriter.h"

#include "support/WaitForCondition.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

namespace lumivane::service {

using lumivane::test::waitForCondition;

namespace {

using Group = std::vector<GroupedWriter::Job*>;

const StoreWork noWork = [](soci::session&) {};

// Commits that wait until the test lets them go, and remember how many jobs each had.
class HeldCommits {
public:
    void operator()(const Group& group) {
        ++begun;
        waitForCondition([this] { return isOpen.load(); });
        sizes.push_back(group.size());
    }

    std::atomic<bool> isOpen = false;
    std::atomic<int> begun = 0;
    std::vector<std::size_t> sizes;
};

} // namespace

TEST(GroupedWriter, WhoComesAloneWaitsForNobody) {
    std::vector<std::size_t> sizes;
    GroupedWriter writer([&](const Group& group) { sizes.push_back(group.size()); });

    writer.run(noWork);
    writer.run(noWork);

    EXPECT_EQ(sizes, (std::vector<std::size_t>{1, 1}));
}

TEST(GroupedWriter, WhoComesDuringACommitSharesTheNext) {
    HeldCommits commits;
    std::atomic<int> ended = 0;
    GroupedWriter writer(std::ref(commits));
    std::vector<std::jthread> callers;
    const auto call = [&] {
        writer.run(noWork);
        ++ended;
    };
    callers.emplace_back(call);
    ASSERT_TRUE(waitForCondition([&] { return commits.begun == 1; }));
    for (int i = 0; i < 5; ++i) {
        callers.emplace_back(call);
    }
    ASSERT_TRUE(waitForCondition([&] { return writer.waiting() == 5; }));
    EXPECT_EQ(ended, 0);
    commits.isOpen = true;
    callers.clear();

    EXPECT_EQ(ended, 6);
    EXPECT_EQ(commits.sizes, (std::vector<std::size_t>{1, 5}));
}

TEST(GroupedWriter, AGroupIsBoundedAndTheRestComesNext) {
    HeldCommits commits;
    GroupedWriter writer(std::ref(commits));
    std::vector<std::jthread> callers;
    callers.emplace_back([&] { writer.run(noWork); });
    ASSERT_TRUE(waitForCondition([&] { return commits.begun == 1; }));
    const std::size_t more = GroupedWriter::largestGroup + 3;
    for (std::size_t i = 0; i < more; ++i) {
        callers.emplace_back([&] { writer.run(noWork); });
    }
    ASSERT_TRUE(waitForCondition([&] { return writer.waiting() == more; }));
    commits.isOpen = true;
    callers.clear();

    EXPECT_EQ(commits.sizes, (std::vector<std::size_t>{1, GroupedWriter::largestGroup, 3}));
}

TEST(GroupedWriter, EachCallerHearsOfItsOwnFailure) {
    std::atomic<int> count = 0;
    GroupedWriter writer([&](const Group& group) {
        for (GroupedWriter::Job* job : group) {
            if (++count % 2 == 0) {
                job->failure = std::make_exception_ptr(std::out_of_range("second"));
            }
        }
    });

    EXPECT_NO_THROW(writer.run(noWork));
    EXPECT_THROW(writer.run(noWork), std::out_of_range);
    EXPECT_NO_THROW(writer.run(noWork));
}

} // namespace lumivane::service
