#include "platform/linux/MenuBarIcon.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDir>
#include <QFileInfo>
#include <QFontDatabase>
#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <QStandardPaths>
#include <QSvgRenderer>
#include <QtEndian>

namespace {

// The bar's color cannot be known, and no single color stands out against all that there are: the best of
// them is 2.8 to 1 on common dark bars and vanishes on a gray one. So the icon brings its own ground: 8.9 to
// 1, everywhere.
constexpr QRgb inkColor = qRgb(0xff, 0xff, 0xff);
constexpr QRgb badgeColor = qRgb(0x4a, 0x4a, 0x4a);

/// The measures of a badge in pixels. The heights are those that bars ask for, alone and on screens with two
/// pixels to a point.
struct BadgeSize {
    int height;
    int icon;
    int text;
};
constexpr BadgeSize badgeSizes[] { { 16, 12, 11 }, { 22, 16, 13 }, { 24, 16, 14 }, { 32, 22, 19 },
    { 48, 32, 28 } };

/// There is one drawing for multiples of 16 pixels and one for multiples of 22, so that its lines fall on
/// whole pixels.
QString drawingFor(int size)
{
    return size % 22 == 0 ? ":/menu-bar/knucklet-symbolic-22.svg" : ":/menu-bar/knucklet-symbolic-16.svg";
}

QImage emptyImage(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

QImage icon(int size)
{
    QImage image = emptyImage(size, size);
    QPainter painter(&image);
    QSvgRenderer(drawingFor(size)).render(&painter);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), QColor(inkColor));
    return image;
}

QImage badge(const BadgeSize& size, const QString& text)
{
    // The desktop's own, which stands in its bar; the program's changes when the panel is first opened.
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPixelSize(size.text);
    font.setWeight(QFont::Medium);
    const QFontMetrics metrics(font);
    const int gap = size.height / 6;
    const int textWidth = text.isEmpty() ? 0 : gap + metrics.horizontalAdvance(text) + gap / 2;
    // Alone, the icon stands in the middle of a square.
    const int margin = (size.height - size.icon) / 2;

    QImage image = emptyImage(size.height + textWidth, size.height);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(badgeColor));
    painter.drawRoundedRect(image.rect(), size.height / 4.0, size.height / 4.0);
    painter.drawImage(margin, margin, icon(size.icon));
    painter.setFont(font);
    painter.setPen(QColor(inkColor));
    painter.drawText(margin + size.icon + gap, (size.height + metrics.capHeight()) / 2, text);
    return image;
}

IconPixmap pixmapOf(const QImage& image)
{
    const qsizetype bytesPerLine = qsizetype { 4 } * image.width();
    IconPixmap pixmap { image.width(), image.height(), QByteArray(bytesPerLine * image.height(), '\0') };
    for (int y = 0; y < image.height(); ++y)
        qToBigEndian<quint32>(image.constScanLine(y), image.width(), pixmap.pixels.data() + y * bytesPerLine);
    return pixmap;
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

QList<QImage> menuBarBadges(const QString& text)
{
    QList<QImage> badges;
    for (const BadgeSize& size : badgeSizes)
        badges.append(badge(size, text));
    return badges;
}

QList<IconPixmap> menuBarIconPixmaps(const QString& text)
{
    QList<IconPixmap> pixmaps;
    for (const QImage& badge : menuBarBadges(text))
        pixmaps.append(pixmapOf(badge.convertToFormat(QImage::Format_ARGB32)));
    return pixmaps;
}
