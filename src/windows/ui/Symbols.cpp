#include "windows/ui/Symbols.h"

#include <QFile>
#include <QImage>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>

namespace {

QString symbolFile(const QString& name) { return ":/symbols/" + name + ".svg"; }

/// A symbol of few pixels may have a drawing for just so many, on the grid that they make.
QString symbolFile(const QString& name, int pixels)
{
    const auto fitted = symbolFile(QString("%1-%2").arg(name).arg(pixels));
    return QFile::exists(fitted) ? fitted : symbolFile(name);
}

/// A symbol is drawn in black ink, with white where the ink is knocked out again: QtSvg knows no masks. On
/// white paper the darkness of a pixel is therefore its coverage.
QImage coverage(const QString& name, const QSize& pixels)
{
    QImage paper(pixels, QImage::Format_RGB32);
    paper.fill(Qt::white);
    QPainter painter(&paper);
    painter.setRenderHint(QPainter::Antialiasing);
    QSvgRenderer(symbolFile(name, pixels.height())).render(&painter, QRectF(QPointF(), QSizeF(pixels)));
    painter.end();
    paper.invertPixels();
    paper.convertTo(QImage::Format_Grayscale8);
    paper.reinterpretAsFormat(QImage::Format_Alpha8);
    return paper;
}

}

double symbolAspect(const QString& name)
{
    const auto box = QSvgRenderer(symbolFile(name)).viewBoxF();
    return box.width() / box.height();
}

QPixmap symbolPixmap(const QString& name, const QSizeF& size, const QColor& color, double pixelRatio)
{
    const auto pixels = (size * pixelRatio).toSize();
    const auto key = QString("symbol %1 %2x%3@%4 %5")
                         .arg(name)
                         .arg(pixels.width())
                         .arg(pixels.height())
                         .arg(pixelRatio)
                         .arg(color.rgba(), 0, 16);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap))
        return pixmap;

    QImage tinted(pixels, QImage::Format_ARGB32_Premultiplied);
    tinted.fill(color);
    QPainter painter(&tinted);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    painter.drawImage(0, 0, coverage(name, pixels));
    painter.end();
    tinted.setDevicePixelRatio(pixelRatio);
    pixmap = QPixmap::fromImage(std::move(tinted));
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}
