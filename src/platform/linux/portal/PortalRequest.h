#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariant>

#include <functional>

/// What the desktop portal is to do, and what becomes of it. Exactly one of the functions is called, unless
/// the portal goes away meanwhile.
struct PortalCall {
    /// Such as "FileChooser".
    QString interface;
    QString method;
    /// Without the options, which come last.
    QVariantList arguments;
    QVariantMap options;
    /// The user has done what was asked.
    std::function<void(const QVariantMap& results)> done;
    /// The user has not, or the portal could not go on.
    std::function<void()> cancelled = [] {};
    /// There is no portal that could be asked.
    std::function<void()> unavailable;
};

/// Asks the desktop portal for something that the user decides in a dialog of the desktop's, and waits for
/// the answer without keeping anything else from going on.
class PortalRequest final : public QObject {
    Q_OBJECT

public:
    /// The request lives until its answer has come.
    static void send(QDBusConnection bus, PortalCall call);

private slots:
    void answered(uint response, const QVariantMap& results);

private:
    explicit PortalRequest(PortalCall call);

    PortalCall call;
};
