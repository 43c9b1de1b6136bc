#pragma once

#include "async/TaskHandle.h"
#include "provisional/AccountWindow.h"
#include "support/EventLoop.h"
#include "support/FakeAuthService.h"
#include "support/FakeCredentialStore.h"
#include "support/FakeDeviceIdentity.h"
#include "support/FakeRandomSource.h"
#include "support/FakeWebAuthenticator.h"
#include "support/ManualClock.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMessageBox>

#include <gmock/gmock.h>

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace lumivane::test {

/// The account's window over the real parts of a login, whose ports are played.
class AccountWindowFixture : public testing::Test {
protected:
    ~AccountWindowFixture() override {
        window.reset();
        account.reset();
        drainEvents(); // what they left waiting
    }

    AccountWindowFixture() {
        service.providersScript.answerWith(
            {AuthProvider::google, AuthProvider::facebook, AuthProvider::github});
    }

    void open(const AuthenticationSeeds& seeds = {}) {
        window.reset();
        account.emplace(ports, AuthenticationStart::signedOut, seeds);
        window.emplace(*account);
        window->present();
        drainEvents();
    }

    /// Signed in with GitHub and Google, for the views alone.
    void openSignedIn() {
        AuthenticationSeeds seeds;
        seeds.user = service.user;
        seeds.user->linkedProviders = {AuthProvider::github, AuthProvider::google};
        open(seeds);
    }

    /// A stored session is there, and the start has gone as far as the ports let it.
    void restore() {
        window.reset();
        store.stored = service.session();
        account.emplace(ports);
        window.emplace(*account);
        window->show();
        run([this] { return account->restore(); });
    }

    /// The same, and the user has the window in front of them.
    void openRestored() {
        restore();
        window->present();
        drainEvents();
    }

    /// Everything that stands in the window now.
    std::string words() const {
        QStringList texts;
        for (const QLabel* label : window->findChildren<QLabel*>()) {
            if (label->isVisible()) {
                texts.append(label->text());
            }
        }
        for (const QLineEdit* field : window->findChildren<QLineEdit*>()) {
            if (field->isVisible()) {
                texts.append(field->text());
            }
        }
        return texts.join(u'\n').toStdString();
    }

    QPushButton* button(const QString& text) const {
        for (QPushButton* button : window->findChildren<QPushButton*>()) {
            if (button->isVisible() && button->text() == text) {
                return button;
            }
        }
        return nullptr;
    }

    void press(const QString& text) {
        QPushButton* found = button(text);
        ASSERT_NE(found, nullptr) << text.toStdString();
        found->click();
        drainEvents();
    }

    QLineEdit* fieldWith(const QString& text) const {
        for (QLineEdit* field : window->findChildren<QLineEdit*>()) {
            if (field->text() == text) {
                return field;
            }
        }
        return nullptr;
    }

    static void run(std::function<QCoro::Task<void>()> flow) {
        TaskHandle::detach([flow = std::move(flow)](std::stop_token) { return flow(); });
        drainEvents();
    }

    /// The button of a question that stands over the window.
    QAbstractButton* choice(const QString& text) const {
        const auto* question = window->findChild<QMessageBox*>();
        if (question != nullptr) {
            for (QAbstractButton* button : question->buttons()) {
                if (button->text() == text) {
                    return button;
                }
            }
        }
        return nullptr;
    }

    /// Whether a question stands over the window.
    bool isAsking() const {
        const auto* question = window->findChild<QMessageBox*>();
        return question != nullptr && question->isVisible();
    }

    /// Puts something in the place of what a field holds, as by the keyboard.
    static void type(QLineEdit* field, const QString& text) {
        field->selectAll();
        field->insert(text);
        drainEvents();
    }

    /// Presses a key in whatever has the focus.
    void strike(int key) const {
        QWidget* focus = window->focusWidget();
        for (const QEvent::Type type :
             {QEvent::ShortcutOverride, QEvent::KeyPress, QEvent::KeyRelease}) {
            QKeyEvent event(type, key, Qt::NoModifier, key == Qt::Key_Space ? u" "_qs : QString());
            QCoreApplication::sendEvent(focus, &event);
        }
        drainEvents();
    }

    static void commit(QLineEdit* field) {
        Q_EMIT field->returnPressed();
        drainEvents();
    }

    std::vector<QString> asked() const {
        std::vector<QString> operations;
        for (const auto& request : service.requests) {
            operations.push_back(request.operation);
        }
        return operations;
    }

    Journal journal;
    ManualClock clock;
    FakeAuthService service{journal, clock};
    FakeCredentialStore store{journal};
    FakeWebAuthenticator web{journal};
    FakeDeviceIdentity device{journal};
    FakeRandomSource random;
    HandleAvailabilityChecker checker{clock};
    AuthenticationPorts ports{service, store, web, device, checker, random, clock};
    std::optional<AuthenticationCoordinator> account;
    std::optional<AccountWindow> window;
};

} // namespace lumivane::test
