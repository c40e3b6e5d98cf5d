#pragma once

#include "platform/Appearance.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>

#include <chrono>

class QDBusPendingCallWatcher;

/// What the desktop's Settings portal says. It is asked without waiting, so that the answers are those of a
/// light desktop in full motion until it has spoken, and for good where there is no portal.
class PortalAppearance final
    : public QObject
    , public Appearance {
    Q_OBJECT

public:
    explicit PortalAppearance(const QDBusConnection& bus);

    /// Waits until the portal has answered for the first time, or there is none, at most so long: a first
    /// window should not change its colors before the user's eyes.
    void awaitAnswer(std::chrono::milliseconds patience);

    ColorScheme colorScheme() const override { return current.colorScheme; }
    Motion motion() const override;
    std::optional<AccentColor> accent() const override { return current.accent; }
    Observers::Subscription observe(std::function<void()> changed) override;

private slots:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

signals:
    void answerCame();

private:
    /// Each desktop has its own word for reduced motion, and some have several.
    struct Wishes {
        ColorScheme colorScheme = ColorScheme::Light;
        std::optional<AccentColor> accent;
        bool reducesMotion = false;
        bool switchesAnimationsOff = false;
        bool cutsAnimationsToNothing = false;

        bool operator==(const Wishes&) const = default;
    };

    void read();
    void answered(QDBusPendingCallWatcher* call);
    static void apply(Wishes& wishes, const QString& group, const QString& key, const QVariant& wrapped);
    void become(const Wishes& wishes);

    QDBusConnection bus;
    QDBusServiceWatcher portal;
    Wishes current;
    bool hasAnswered = false;
    Observers observers;
};
