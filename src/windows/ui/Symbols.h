#pragma once

#include <QColor>
#include <QPixmap>
#include <QSizeF>
#include <QString>

/// The width of a symbol, such as "keyboard.fill", that is 1 high.
double symbolAspect(const QString& name);

/// The symbol in one color, drawn for the pixels of its screen; kept for the next time.
QPixmap symbolPixmap(const QString& name, const QSizeF& size, const QColor& color, double pixelRatio);
