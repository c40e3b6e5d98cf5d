#include "windows/ShareCard.h"

#include "platform/Clock.h"
#include "platform/Folders.h"
#include "platform/Pasteboard.h"
#include "platform/Platform.h"
#include "platform/SavePanel.h"
#include "platform/ShareSheet.h"
#include "platform/WindowPlatform.h"
#include "support/AtomicFile.h"
#include "windows/ui/Controls.h"
#include "windows/ui/Shadow.h"
#include "windows/ui/Shapes.h"
#include "windows/ui/UtilityWindow.h"

#include <QBuffer>
#include <QByteArray>
#include <QGuiApplication>
#include <QPainter>
#include <QPixmap>
#include <QWidget>

#include <string>
#include <string_view>
#include <tuple>
#include <utility>

namespace {

constexpr double previewScale = 0.62;
constexpr QSizeF previewSize = QSizeF(ShareCardView::size) * previewScale;
constexpr double cornerRadius = 12;

constexpr double shadowBlur = 6;
constexpr double shadowOffset = 4;
constexpr QMargins shadowReach(18, 14, 18, 22);

/// The card, small and with round corners, on its shadow.
class CardPreview final : public QWidget {
public:
    CardPreview() { setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed); }

    /// `newAppeared` is called once, soon after the card has been seen for the first time.
    void show(std::shared_ptr<const ShareCardView> newCard, std::function<void()> newAppeared)
    {
        appeared = std::move(newAppeared);
        if (card == newCard)
            return;
        card = std::move(newCard);
        drawn = {};
        update();
    }

    QSize sizeHint() const override
    {
        return QSizeF(previewSize).grownBy(contentsMargins()).toSize().expandedTo({ 1, 1 });
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        if (drawn.isNull() || drawn.devicePixelRatio() != devicePixelRatioF())
            drawn = draw();
        QPainter(this).drawPixmap(0, 0, drawn);
        if (!std::exchange(hasAppeared, true))
            QMetaObject::invokeMethod(
                this, [this] { appeared(); }, Qt::QueuedConnection);
    }

private:
    QPixmap draw() const
    {
        QPixmap picture(size() * devicePixelRatioF());
        picture.setDevicePixelRatio(devicePixelRatioF());
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        painter.translate(contentsRect().topLeft());
        const auto shape = continuousRect(QRectF(QPointF(), previewSize), cornerRadius);
        paintShadow(painter, shape.translated(0, shadowOffset), shadowBlur, QColor::fromRgbF(0, 0, 0, 0.33F));
        painter.drawImage(0, 0, drawCard(shape));
        return picture;
    }

    QImage drawCard(const QPainterPath& shape) const
    {
        QImage image(contentsRect().size() * devicePixelRatioF(), QImage::Format_ARGB32_Premultiplied);
        image.setDevicePixelRatio(devicePixelRatioF());
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.save();
        painter.scale(previewScale, previewScale);
        card->paint(painter);
        painter.restore();
        clearOutside(painter, shape);
        return image;
    }

    std::shared_ptr<const ShareCardView> card;
    std::function<void()> appeared;
    bool hasAppeared = false;
    QPixmap drawn;
};

/// Room for the window's close button above the content.
class TitleBar final : public QWidget {
public:
    TitleBar() { setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed); }

    QSize sizeHint() const override { return { 0, 28 }; }
};

QImage load(const Folders& folders, std::string_view name)
{
    const auto file = folders.picture(name);
    return file ? QImage(QString::fromStdString(file->string())) : QImage();
}

/// The content of a PNG file; empty when the picture is null.
QByteArray encodePng(const QImage& image)
{
    // A fifth larger than with the greatest effort, and four times as fast.
    constexpr int effort = 70;
    QByteArray png;
    QBuffer buffer(&png);
    image.save(&buffer, "PNG", effort);
    return png;
}

std::string_view bytes(const QByteArray& array)
{
    return { array.data(), static_cast<std::size_t>(array.size()) };
}

}

ShareCardShowing::ShareCardShowing(std::function<void()> changed)
    : rendered(std::move(changed))
{
}

View ShareCardPreview::body() const
{
    return column(
        {
            View::of<TitleBar>([](TitleBar&) {}),
            column({ preview(), buttons() }, { .spacing = 14, .alignment = Qt::AlignHCenter }).padding(20),
        },
        { .spacing = 0 });
}

View ShareCardPreview::preview() const
{
    const auto& data = showing->previewed->data;
    const auto date = QString::fromStdString(showing->dates.weekdayAndFullDate(data.today.civilDay));
    return View::of<CardPreview>([preview = *this](CardPreview& widget) {
        widget.show(preview.showing->previewed, [preview] { preview.appeared(); });
    })
        .read(tr("%1: %2 keys · %3 clicks").arg(date).arg(data.keys).arg(data.clicks))
        .bleed(shadowReach);
}

View ShareCardPreview::buttons() const
{
    return row(
        {
            button(tr("Copy"), [preview = *this] { preview.copy(); },
                { .size = ButtonSize::Large, .symbol = "doc.on.doc" }),
            button(tr("Save PNG"), [preview = *this] { preview.savePNG(); },
                { .size = ButtonSize::Large, .symbol = "square.and.arrow.down" }),
            shareButton(),
        },
        { .spacing = 10 });
}

View ShareCardPreview::shareButton() const
{
    const QImage& rendered = showing->rendered;
    if (rendered.isNull())
        return {};
    return button(tr("Share"), [preview = *this] { preview.share(); },
        { .size = ButtonSize::Large, .symbol = "square.and.arrow.up" });
}

ShareCardView ShareCardPreview::card() const
{
    return { DayCardData(state, clock), showing->dates, showing->numbers, showing->background,
        QGuiApplication::layoutDirection() };
}

// What is shared is what was seen when the window opened; the preview shows the same numbers from then on.
void ShareCardPreview::appeared() const
{
    showing->previewed = std::make_shared<const ShareCardView>(card());
    showing->rendered = showing->previewed->rendered();
}

void ShareCardPreview::copy() const
{
    const auto png = encodePng(card().rendered());
    if (!png.isEmpty())
        pasteboard.setPicture(bytes(png));
}

void ShareCardPreview::savePNG() const
{
    // Encoded before the panel opens: what is saved is what was counted at the click.
    const auto card = this->card();
    const auto png = encodePng(card.rendered());
    if (png.isEmpty())
        return;
    const auto name = "Knucklet-" + card.data.today.day + ".png";
    savePanel.begin(name, [png](const std::filesystem::path& place) {
        // Nobody is told of a failure: the user sees that there is no file.
        std::ignore = exportFile(place, bytes(png));
    });
}

void ShareCardPreview::share() const
{
    const auto png = encodePng(showing->rendered);
    if (!png.isEmpty())
        shareSheet.share(bytes(png), tr("Knucklet day card").toStdString());
}

ShareCardWindowController::ShareCardWindowController(
    Platform& platform, WindowPlatform& windowPlatform, std::function<void()> prepare)
    : platform(platform)
    , windowPlatform(windowPlatform)
    , prepare(std::move(prepare))
{
}

ShareCardWindowController::~ShareCardWindowController() = default;

void ShareCardWindowController::show(AppState& state)
{
    if (!window) {
        prepare();
        window = std::make_unique<UtilityWindow>(
            tr("Day Card"), windowPlatform.windowActivation(), windowPlatform.windowEdges());
    }
    auto showing = std::make_shared<ShareCardShowing>([this] { window->invalidate(); });
    showing->background = load(platform.folders(), "share-bg");
    const ShareCardPreview preview { state, platform.clock(), windowPlatform.pasteboard(),
        windowPlatform.savePanel(), windowPlatform.shareSheet(), showing };
    showing->previewed = std::make_shared<const ShareCardView>(preview.card());
    window->present([preview] { return preview.body(); });
}
