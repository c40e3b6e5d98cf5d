#include "windows/ui/Picture.h"

#include "windows/ui/Look.h"
#include "windows/ui/Shapes.h"
#include "windows/ui/Symbols.h"

#include <QPainter>

#include <cmath>

Picture::Picture() { setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding); }

void Picture::show(const Source& newSource)
{
    if (name == newSource.name)
        return;
    name = newSource.name;
    fallbackSymbol = newSource.fallbackSymbol;
    fallbackColor = newSource.fallbackColor;
    image = newSource.load();
    drawn = {};
    update();
}

void Picture::setClip(std::optional<double> cornerRadius)
{
    if (clipRadius == cornerRadius)
        return;
    clipRadius = cornerRadius;
    drawn = {};
    update();
}

void Picture::paintEvent(QPaintEvent*)
{
    const auto place = drawnPlace();
    const auto pixels = place.size() * devicePixelRatioF();
    if (drawn.size() != pixels || drawn.devicePixelRatio() != devicePixelRatioF())
        drawn = draw();
    QPainter(this).drawPixmap(place.topLeft(), drawn);
}

QRect Picture::drawnPlace() const
{
    return image.isNull() ? contentsRect() : wholeImage().toAlignedRect() & rect();
}

/// The image as it covers its place, also where it stands out of that.
QRectF Picture::wholeImage() const
{
    const QRectF box = contentsRect();
    QRectF whole({}, QSizeF(image.size()).scaled(box.size(), Qt::KeepAspectRatioByExpanding));
    whole.moveCenter(box.center());
    return whole;
}

QPixmap Picture::draw() const
{
    const auto drawnAt = drawnPlace();
    QPixmap pixmap(drawnAt.size() * devicePixelRatioF());
    pixmap.setDevicePixelRatio(devicePixelRatioF());
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(-drawnAt.topLeft());
    const QRectF box = contentsRect();

    if (image.isNull()) {
        drawFallback(painter, box);
    } else {
        drawImage(painter);
    }
    if (clipRadius)
        clearOutside(painter, continuousRect(box, *clipRadius));
    return pixmap;
}

void Picture::drawImage(QPainter& painter) const
{
    const auto whole = wholeImage();
    // Only the part that can be seen: a picture that is very much longer than wide would become huge.
    const auto place = whole & QRectF(rect());
    const double scale = image.width() / whole.width();
    const auto part = QRectF((place.topLeft() - whole.topLeft()) * scale, place.size() * scale);
    // Scaled first, which averages; the painter would only pick.
    painter.drawImage(place,
        image.copy(part.toAlignedRect() & image.rect())
            .scaled((place.size() * devicePixelRatioF()).toSize(), Qt::IgnoreAspectRatio,
                Qt::SmoothTransformation));
}

void Picture::drawFallback(QPainter& painter, const QRectF& box) const
{
    constexpr double height = 1.2 * 56;
    const auto color = resolved(fallbackColor, palette().color(QPalette::WindowText));
    painter.fillRect(box, resolved(fallbackColor.withOpacity(0.1), {}));
    QRectF place({}, QSizeF(std::round(height * symbolAspect(fallbackSymbol)), std::round(height)));
    place.moveCenter(box.center());
    painter.drawPixmap(
        place.topLeft(), symbolPixmap(fallbackSymbol, place.size(), color, devicePixelRatioF()));
}

PictureView picture(const Picture::Source& source)
{
    return PictureView([source](Picture& picture) { picture.show(source); });
}
