#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

class QDBusArgument;
class QImage;

/// A picture as menu-bar hosts take it: "(iiay)", four bytes a pixel, in the order alpha, red, green, blue.
struct IconPixmap {
    int width = 0;
    int height = 0;
    QByteArray pixels;

    bool operator==(const IconPixmap&) const = default;
};

QDBusArgument& operator<<(QDBusArgument& argument, const IconPixmap& pixmap);
const QDBusArgument& operator>>(const QDBusArgument& argument, IconPixmap& pixmap);

/// The icon's name in icon themes. Hosts draw it in the color of their own text.
QString menuBarIconName();
/// The folder of icon themes that belongs to this program, when it is none of those that every host searches:
/// the program runs where it was built, or from a prefix of its own. Otherwise empty.
QString menuBarIconThemePath();
/// The icon in several sizes, in white on a badge, for bars that cannot color it. With a text, that stands on
/// the badge too, and the pixmaps are as wide as it takes.
QList<QImage> menuBarBadges(const QString& text = {});
/// The same in the form that goes over the bus.
QList<IconPixmap> menuBarIconPixmaps(const QString& text = {});
