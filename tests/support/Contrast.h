#pragma once

#include <QColor>
#include <QImage>
#include <QRect>

class QWidget;

/// The contrast of two colors, from 1 to 21, as the guidelines for accessible texts have it.
double contrast(const QColor& one, const QColor& other);

/// The widget as painted with eight pixels to a point, where every stroke of a letter has its full color.
QImage magnified(QWidget& widget);

/// The contrast between what is painted in a rectangle, in points, and what it is painted on, which shows at
/// its corner.
double paintedContrast(const QImage& image, const QRect& rect);
