#pragma once

#include "windows/Theme.h"
#include "windows/ui/View.h"

#include <QImage>
#include <QPixmap>
#include <QWidget>

#include <functional>
#include <optional>

/// A picture that fills its place, whatever its own shape; what is too much of it is drawn beyond the place,
/// as far as the widget reaches. Where there is no picture, a symbol stands on a tinted ground.
class Picture final : public QWidget {
public:
    struct Source {
        QString name;
        /// Gives the picture, or a null image. Called once for a name, not again because it is shown again.
        std::function<QImage()> load;
        QString fallbackSymbol;
        ThemeColor fallbackColor;
    };

    Picture();

    void show(const Source& newSource);
    void setClip(std::optional<double> cornerRadius);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    /// Where the picture is drawn: its place and what stands out of that, as far as the widget reaches.
    QRect drawnPlace() const;
    QRectF wholeImage() const;
    QPixmap draw() const;
    void drawImage(QPainter& painter) const;
    void drawFallback(QPainter& painter, const QRectF& box) const;

    QString name;
    QImage image;
    QString fallbackSymbol;
    ThemeColor fallbackColor;
    std::optional<double> clipRadius;
    /// What was painted last: the picture is much larger.
    QPixmap drawn;
};

/// To be given a size.
PictureView picture(const Picture::Source& source);
