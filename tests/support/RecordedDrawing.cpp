#include "support/RecordedDrawing.h"

#include <QPainter>
#include <QPainterPath>

class RecordedDrawing::Engine final : public QPaintEngine {
public:
    explicit Engine(RecordedDrawing& drawing)
        : QPaintEngine(QPaintEngine::AllFeatures)
        , drawing(drawing)
    {
    }

    bool begin(QPaintDevice*) override { return true; }
    bool end() override { return true; }
    Type type() const override { return QPaintEngine::User; }
    void updateState(const QPaintEngineState&) override { }

    void drawTextItem(const QPointF& point, const QTextItem& item) override
    {
        const auto transform = painter()->worldTransform();
        const Text part { item.text(), item.font(), painter()->pen().color(), transform.map(point),
            item.width() * transform.m11(), transform.m11() };
        if (!drawing.texts.isEmpty()) {
            auto& last = drawing.texts.last();
            const bool isContinued = qFuzzyCompare(last.begin.y(), part.begin.y())
                && qAbs(last.begin.x() + last.width - part.begin.x()) < 0.1;
            if (isContinued) {
                last.text += part.text;
                last.width += part.width;
                return;
            }
        }
        drawing.texts.append(part);
    }

    void drawPath(const QPainterPath& path) override
    {
        const auto place = painter()->worldTransform().map(path);
        drawing.shapes.append({ place.boundingRect(), painter()->brush(), false });
    }

    void drawRects(const QRectF* rects, int count) override
    {
        for (int i = 0; i < count; ++i) {
            drawing.shapes.append(
                { painter()->worldTransform().mapRect(rects[i]), painter()->brush(), true });
        }
    }

    void drawImage(const QRectF& place, const QImage&, const QRectF& part, Qt::ImageConversionFlags) override
    {
        drawing.pictures.append({ painter()->worldTransform().mapRect(place), part });
    }

    void drawPixmap(const QRectF& place, const QPixmap&, const QRectF& part) override
    {
        drawing.pictures.append({ painter()->worldTransform().mapRect(place), part });
    }

private:
    RecordedDrawing& drawing;
};

RecordedDrawing::RecordedDrawing(QSize size)
    : size(size)
    , engine(std::make_unique<Engine>(*this))
{
}

RecordedDrawing::~RecordedDrawing() = default;

QPaintEngine* RecordedDrawing::paintEngine() const { return engine.get(); }

int RecordedDrawing::metric(PaintDeviceMetric metric) const
{
    switch (metric) {
    case PdmWidth:
        return size.width();
    case PdmHeight:
        return size.height();
    case PdmDpiX:
    case PdmDpiY:
    case PdmPhysicalDpiX:
    case PdmPhysicalDpiY:
        return 96;
    case PdmDevicePixelRatio:
        return 1;
    case PdmDevicePixelRatioScaled:
        return static_cast<int>(devicePixelRatioFScale());
    default:
        return QPaintDevice::metric(metric);
    }
}
