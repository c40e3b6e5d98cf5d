#include "platform/linux/MenuBarIcon.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QStandardPaths>
#include <QSvgRenderer>

namespace {

/// Stands out against a dark bar and against a light one: 5.3 to 1 on black, 3.9 to 1 on white.
constexpr QRgb pixmapColor = qRgb(0x80, 0x80, 0x80);

/// There is one drawing for multiples of 16 pixels and one for multiples of 22, so that its lines fall on
/// whole pixels.
QString drawingFor(int size)
{
    return size % 22 == 0 ? ":/menu-bar/knucklet-symbolic-22.svg" : ":/menu-bar/knucklet-symbolic-16.svg";
}

IconPixmap pixmapOf(const QImage& image)
{
    IconPixmap pixmap { image.width(), image.height(), {} };
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            for (const int part : { qAlpha(pixel), qRed(pixel), qGreen(pixel), qBlue(pixel) })
                pixmap.pixels.append(static_cast<char>(part));
        }
    }
    return pixmap;
}

IconPixmap render(int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    QSvgRenderer(drawingFor(size)).render(&painter);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), QColor(pixmapColor));
    painter.end();
    return pixmapOf(image.convertToFormat(QImage::Format_ARGB32));
}

}

QDBusArgument& operator<<(QDBusArgument& argument, const IconPixmap& pixmap)
{
    argument.beginStructure();
    argument << pixmap.width << pixmap.height << pixmap.pixels;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, IconPixmap& pixmap)
{
    argument.beginStructure();
    argument >> pixmap.width >> pixmap.height >> pixmap.pixels;
    argument.endStructure();
    return argument;
}

QString menuBarIconName() { return "org.knucklet.Knucklet-symbolic"; }

QString menuBarIconThemePath()
{
    const QString icon = "/hicolor/symbolic/apps/" + menuBarIconName() + ".svg";
    const QDir program = QCoreApplication::applicationDirPath();
    for (const QString& icons : { program.filePath("../share/icons"), program.filePath("share/icons") }) {
        if (!QFileInfo::exists(icons + icon))
            continue;
        QString path = QDir::cleanPath(icons);
        for (const QString& folder : QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation)) {
            if (QDir::cleanPath(folder + "/icons") == path)
                return {};
        }
        return path;
    }
    return {};
}

QList<IconPixmap> menuBarIconPixmaps()
{
    QList<IconPixmap> pixmaps;
    for (const int size : { 16, 22, 32, 44, 48 })
        pixmaps.append(render(size));
    return pixmaps;
}
