#include "platform/linux/TrayIcon.h"

#include "platform/linux/MenuBarIcon.h"

#include <QImage>

namespace {

QIcon badgeIcon()
{
    QIcon icon;
    for (const QImage& badge : menuBarBadges())
        icon.addPixmap(QPixmap::fromImage(badge));
    return icon;
}

/// An ampersand marks the access key of an entry, unless there are two.
QString menuText(const std::string& title) { return QString::fromStdString(title).replace("&", "&&"); }

}

TrayIcon::TrayIcon(std::function<void(ScreenPoint)> activated, const std::vector<MenuBarCommand>& commands)
    : icon(badgeIcon())
{
    for (const MenuBarCommand& command : commands)
        menu.addAction(menuText(command.title), [this, action = command.action] { action(place()); });
    icon.setContextMenu(&menu);
    QObject::connect(&icon, &QSystemTrayIcon::activated, &icon,
        [this, activated = std::move(activated)](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger)
                activated(place());
        });
    icon.show();
}

void TrayIcon::setToolTip(const std::string& toolTip) { icon.setToolTip(QString::fromStdString(toolTip)); }

bool TrayIcon::isShown() const { return QSystemTrayIcon::isSystemTrayAvailable(); }

ScreenPoint TrayIcon::place() const
{
    const QPoint center = icon.geometry().center();
    return { center.x(), center.y() };
}
