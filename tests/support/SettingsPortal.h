#pragma once

#include <QDBusConnection>
#include <QMap>
#include <QObject>
#include <QVariantMap>

class VirtualDesktop;

/// "a{sa{sv}}"
using SettingGroups = QMap<QString, QVariantMap>;
Q_DECLARE_METATYPE(SettingGroups)

/// The desktop's own settings, as far as programs may ask for them: light or dark.
class SettingsPortal final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    enum class Look { NoPreference, Dark, Light };

    SettingsPortal(const VirtualDesktop& desktop, Look look);
    ~SettingsPortal() override;

    /// The user changes it.
    void setLook(Look newLook);

public slots:
    // NOLINTNEXTLINE(readability-identifier-naming)
    Q_SCRIPTABLE SettingGroups ReadAll(const QStringList& groups) const;

private:
    QDBusConnection bus;
    Look look;
};
