#pragma once

#include "analysis/AppDelegate.h"
#include "platform/LoginItem.h"
#include "platform/UserDefaults.h"
#include "support/AppModelFixture.h"

#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace lumivane::test {

/// Journals `register` and `unregister`; can fail.
class JournalledLoginItem final : public LoginItem {
public:
    explicit JournalledLoginItem(Journal& journal)
        : m_journal(journal) {}

    LoginItemStatus status() const override { return LoginItemStatus::enabled; }

    void registerItem() override { m_journal.add(u"register"_qs); }

    void unregisterItem() override {
        m_journal.add(u"unregister"_qs);
        if (fails) {
            throw std::system_error(std::make_error_code(std::errc::read_only_file_system));
        }
    }

    bool fails = false;

private:
    Journal& m_journal;
};

/// Journals what goes into the defaults and out of them; can fail.
class JournalledDefaults final : public UserDefaults {
public:
    explicit JournalledDefaults(Journal& journal)
        : m_journal(journal) {}

    std::optional<QByteArray> data(const QString&) const override { return std::nullopt; }

    void set(const QByteArray&, const QString&) override { m_journal.add(u"set"_qs); }

    void removeObject(const QString&) override { m_journal.add(u"removeObject"_qs); }

    void removePersistentDomain() override {
        m_journal.add(u"removePersistentDomain"_qs);
        if (fails) {
            throw std::system_error(std::make_error_code(std::errc::read_only_file_system),
                                    "/home/someone/secret");
        }
    }

    bool fails = false;

private:
    Journal& m_journal;
};

/// A delegate over a model over fakes.
class AppDelegateTest : public AppModelTest {
protected:
    AppDelegateTest() {
        settings.showInMenuBar = true;
        settings.activationMode = ActivationMode::hotkey; // no poll among the timers
    }

    /// Flows that a test left waiting end with it.
    ~AppDelegateTest() override {
        delegate.reset();
        drainEvents();
    }

    /// A delegate before its launch. The model stands ready; whoever asks for it is written down.
    AppDelegate& makeDelegate(const QStringList& arguments = {}) {
        make();
        delegate.emplace(
            AppDelegatePorts{.arguments = QStringList{u"lumivane"_qs} + arguments,
                             .information = information,
                             .loginItem = loginItem,
                             .standardDefaults = defaults,
                             .application = shell,
                             .clock = clock,
                             .sharedModel = [this]() -> AppModel& { return sharedModel(); },
                             .createStatusItem =
                                 [this](AppModel& created) {
                                     EXPECT_EQ(&created, model.get());
                                     journal.add(u"createStatusItem"_qs);
                                 },
                             .refreshSystemState =
                                 [this](AppModel& refreshed) {
                                     EXPECT_EQ(&refreshed, model.get());
                                     journal.add(u"refreshSystemState"_qs);
                                 }});
        return *delegate;
    }

    /// A whole launch, as far as it goes without time passing.
    void launch(const QStringList& arguments = {}) {
        makeDelegate(arguments).applicationDidFinishLaunching();
        drainEvents();
    }

    AppModel& sharedModel() {
        journal.add(u"sharedModel"_qs);
        return *model;
    }

    /// What was asked for besides what the started model does by itself.
    QStringList steps() const {
        QStringList steps = journal.entries();
        // What the model does with its start is its own affair.
        for (const QString& own :
             {u"warmUp"_qs, u"health"_qs, u"registerHotKey 14"_qs, u"restore"_qs}) {
            steps.removeAll(own);
        }
        return steps;
    }

    std::vector<std::string> lifecycle() const { return log.texts("lifecycle"); }

    JournalledLoginItem loginItem{journal};
    JournalledDefaults defaults{journal};
    ApplicationInformation information{.CFBundleShortVersionString = u"0.3.0"_qs,
                                       .LumivaneAPIBaseURL = std::nullopt};
    std::optional<AppDelegate> delegate;
};

} // namespace lumivane::test
