#include "windows/ui/Look.h"

#include "windows/ui/Shapes.h"

#include <QApplication>
#include <QFontDatabase>
#include <QPainter>
#include <QPalette>
#include <QProxyStyle>
#include <QResource>
#include <QStyleOption>
#include <QToolTip>

namespace {

/// The style that Qt brings along, so that nothing of the desktop's is loaded; what the program draws itself
/// asks it whether to move.
class Style final : public QProxyStyle {
public:
    explicit Style(Motion motion)
        : QProxyStyle("fusion")
        , motion(motion)
    {
    }

    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
        QStyleHintReturn* data) const override
    {
        if (hint == SH_Widget_Animation_Duration && motion == Motion::Reduced)
            return 0;
        return QProxyStyle::styleHint(hint, option, widget, data);
    }

    // The style's own tooltips have a black frame and no room around their text.
    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override
    {
        return metric == PM_ToolTipLabelFrameWidth ? 5 : QProxyStyle::pixelMetric(metric, option, widget);
    }

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
        const QWidget* widget) const override
    {
        if (element != PE_PanelTipLabel) {
            QProxyStyle::drawPrimitive(element, option, painter, widget);
            return;
        }
        painter->fillRect(option->rect, option->palette.color(QPalette::ToolTipBase));
        drawOutline(*painter, option->rect, { .color = option->palette.color(QPalette::Mid) });
    }

    const Motion motion;
};

struct Colors {
    QColor window;
    QColor text;
    /// The face of a button.
    QColor button;
    QColor pressedButton;
    /// Around buttons and boxes.
    QColor border;
    /// The face of a box or a field.
    QColor base;
    QColor toolTip;
};

constexpr QColor gray(int level) { return { level, level, level }; }

/// So much of the ink, from 0 to 255, on the paper. Not a color with alpha: the style drops that where it
/// draws the toolkit's own dialogs and menus, so that a faint white would be white.
QColor blended(const QColor& ink, int alpha, const QColor& paper)
{
    const auto mixed = [alpha](int top, int bottom) { return (top * alpha + bottom * (255 - alpha)) / 255; };
    return { mixed(ink.red(), paper.red()), mixed(ink.green(), paper.green()),
        mixed(ink.blue(), paper.blue()) };
}

Colors colors(ColorScheme scheme)
{
    if (scheme == ColorScheme::Dark) {
        const QColor window { 40, 40, 43 };
        // A border stands on buttons as well as on boxes.
        const auto face = blended(Qt::white, 32, window);
        return {
            .window = window,
            .text = gray(245),
            .button = blended(Qt::white, 38, window),
            .pressedButton = blended(Qt::white, 70, window),
            .border = blended(Qt::white, 64, face),
            .base = blended(Qt::white, 26, window),
            .toolTip = { 58, 58, 61 },
        };
    }
    return {
        .window = { 246, 246, 247 },
        .text = { 28, 28, 30 },
        .button = gray(255),
        .pressedButton = gray(225),
        .border = blended(Qt::black, 64, Qt::white),
        .base = gray(255),
        .toolTip = gray(255),
    };
}

/// The color in which the desktop marks what is chosen, as Qt found it before it was given colors of ours.
QColor desktopAccent()
{
    static const auto accent = QApplication::palette().color(QPalette::Highlight);
    return accent;
}

QColor colorOf(const AccentColor& accent)
{
    return QColor::fromRgbF(
        static_cast<float>(accent.red), static_cast<float>(accent.green), static_cast<float>(accent.blue));
}

/// The colors that only the toolkit's own dialogs and menus have. Unset, they would be those of a light
/// desktop.
void completeForToolkit(QPalette& palette)
{
    const auto window = palette.color(QPalette::Window);
    const auto text = palette.color(QPalette::WindowText);
    palette.setColor(QPalette::AlternateBase, blended(text, 10, palette.color(QPalette::Base)));
    palette.setColor(QPalette::Light, window.lighter(150));
    palette.setColor(QPalette::Dark, window.darker(150));
    palette.setColor(QPalette::Shadow, window.darker(300));
    palette.setColor(QPalette::Link, palette.color(QPalette::Highlight));
    const auto faint = blended(text, 115, window);
    palette.setColor(QPalette::PlaceholderText, faint);
    for (const auto role : { QPalette::WindowText, QPalette::Text, QPalette::ButtonText })
        palette.setColor(QPalette::Disabled, role, faint);
}

QPalette palette(ColorScheme scheme, const QColor& accent)
{
    const auto [window, text, button, pressedButton, border, base, toolTip] = colors(scheme);

    QPalette palette;
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::Button, button);
    palette.setColor(QPalette::Midlight, pressedButton);
    palette.setColor(QPalette::Mid, border);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::ToolTipBase, toolTip);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::Highlight, accent);
    palette.setColor(QPalette::HighlightedText, accent.lightnessF() > 0.7 ? Qt::black : Qt::white);
    completeForToolkit(palette);
    return palette;
}

}

void loadFonts()
{
    for (const auto* name : { "400Regular", "500Medium", "600SemiBold", "700Bold" }) {
        const QResource file(QString(":/fonts/SNPro_%1.ttf").arg(name));
        // The data are part of the program's own file: used in place, they cost no memory of their own.
        QFontDatabase::addApplicationFontFromData(
            QByteArray::fromRawData(reinterpret_cast<const char*>(file.data()), file.size()));
    }
    QApplication::setFont(font(13));
}

void applyLook(ColorScheme scheme, Motion motion, std::optional<AccentColor> accent)
{
    const auto ofDesktop = desktopAccent();
    const auto colors = palette(scheme, accent ? colorOf(*accent) : ofDesktop);
    const auto* style = dynamic_cast<const Style*>(QApplication::style());
    if (!style || style->motion != motion)
        QApplication::setStyle(new Style(motion));
    QApplication::setPalette(colors);
    QToolTip::setPalette(colors);
    QToolTip::setFont(font(11));
}

QFont font(int size, QFont::Weight weight)
{
    QFont font;
    font.setFamilies({ "SN Pro", "Noto Sans", "sans-serif" });
    font.setPixelSize(size);
    font.setWeight(weight);
    // Letters keep their shape and their distances at every scale.
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

QColor resolved(const ThemeColor& color, const QColor& primary)
{
    auto result = primary;
    const bool isDark = primary.lightnessF() > 0.5;
    if (const auto& rgb = isDark && color.darkComponents ? color.darkComponents : color.components) {
        result = QColor::fromRgbF(
            static_cast<float>(rgb->red), static_cast<float>(rgb->green), static_cast<float>(rgb->blue));
    }
    result.setAlphaF(result.alphaF() * static_cast<float>(color.opacity));
    return result;
}
