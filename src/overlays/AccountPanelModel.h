#pragma once

#include "overlays/OverlayPresenting.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>

namespace lumivane {

/// What a panel that asks for the account says. The two of them share one view.
struct AccountPanelWords {
    QString identifier;
    QString symbol;
    QString eyebrow;
    QString headline;
    QString body;
    QString spoken; ///< what stands for the whole panel for assistive technology
    QString dismissIdentifier;
    QString actionLabel;
    QString actionIdentifier;
};

/// A panel with two answers: not now, or on to the account. Main thread only.
class AccountPanelModel final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString identifier READ identifier CONSTANT)
    Q_PROPERTY(QString symbol READ symbol CONSTANT)
    Q_PROPERTY(QString eyebrow READ eyebrow CONSTANT)
    Q_PROPERTY(QString headline READ headline CONSTANT)
    Q_PROPERTY(QString body READ body CONSTANT)
    Q_PROPERTY(QString spoken READ spoken CONSTANT)
    Q_PROPERTY(QString dismissLabel READ dismissLabel CONSTANT)
    Q_PROPERTY(QString dismissIdentifier READ dismissIdentifier CONSTANT)
    Q_PROPERTY(QString actionLabel READ actionLabel CONSTANT)
    Q_PROPERTY(QString actionIdentifier READ actionIdentifier CONSTANT)

public:
    static std::shared_ptr<AccountPanelModel>
    authenticationRequired(std::function<void()> onLogin, std::function<void()> onDismiss);
    static std::shared_ptr<AccountPanelModel> deviceEvicted(DeviceEvictedOrigin origin,
                                                            std::function<void()> onOpenAccount,
                                                            std::function<void()> onDismiss);

    AccountPanelModel(AccountPanelWords words, std::function<void()> onAction,
                      std::function<void()> onDismiss);

    const QString& identifier() const { return m_words.identifier; }

    const QString& symbol() const { return m_words.symbol; }

    const QString& eyebrow() const { return m_words.eyebrow; }

    const QString& headline() const { return m_words.headline; }

    const QString& body() const { return m_words.body; }

    const QString& spoken() const { return m_words.spoken; }

    QString dismissLabel() const { return u"Not now"_qs; }

    const QString& dismissIdentifier() const { return m_words.dismissIdentifier; }

    const QString& actionLabel() const { return m_words.actionLabel; }

    const QString& actionIdentifier() const { return m_words.actionIdentifier; }

    /// The default action: Return presses it.
    Q_INVOKABLE void act();

    /// The cancel action: Escape presses it.
    Q_INVOKABLE void dismiss();

private:
    AccountPanelWords m_words;
    std::function<void()> m_onAction;
    std::function<void()> m_onDismiss;
};

/// Says what became of the frame of the run that was stopped.
QString reassurance(DeviceEvictedOrigin origin);

} // namespace lumivane
