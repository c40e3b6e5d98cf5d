// Draws what badges are composed of, and writes it as a table in C++. Part of the build: a program that shows
// a badge needs no painter, no font and no drawing then. Usage: draw-badges FONT DRAWINGS TABLE, where
// DRAWINGS is the folder of the icon's.

#include "platform/linux/bar/badges/Badge.h"

#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QRawFont>
#include <QSvgRenderer>
#include <QTextStream>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

/// The measures of a badge in pixels. The heights are those that bars ask for, alone and on screens with two
/// pixels to a point.
struct BadgeSize {
    int height;
    int icon;
    int text;
};
constexpr BadgeSize badgeSizes[] { { 16, 12, 11 }, { 22, 16, 13 }, { 24, 16, 14 }, { 32, 22, 19 },
    { 48, 32, 28 } };

/// All that short counts and the words of the tooltip are written with.
const QString characters = QStringLiteral("0123456789.kM·- eyscli");

struct Table {
    QByteArray coverage;
    std::vector<Glyph> glyphs;
    std::vector<Badge> badges;
};

QImage emptyImage(QSize size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

Shape addShape(Table& table, const QImage& image)
{
    const Shape shape { image.width(), image.height(), static_cast<int>(table.coverage.size()) };
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            table.coverage.append(static_cast<char>(qAlpha(image.pixel(x, y))));
    }
    return shape;
}

/// There is one drawing for multiples of 16 pixels and one for multiples of 22, so that its lines fall on
/// whole pixels.
QImage icon(const QString& drawings, int size)
{
    const char* name = size % 22 == 0 ? "knucklet-symbolic-22.svg" : "knucklet-symbolic-16.svg";
    QSvgRenderer drawing(drawings + '/' + name);
    if (!drawing.isValid())
        qFatal("%s cannot be read.", name);
    QImage image = emptyImage({ size, size });
    QPainter painter(&image);
    drawing.render(&painter);
    return image;
}

QImage corner(const BadgeSize& size)
{
    const double radius = size.height / 4.0;
    const int extent = static_cast<int>(std::ceil(radius));
    QImage image = emptyImage({ extent, extent });
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawRoundedRect(QRectF(0, 0, size.height, size.height), radius, radius);
    return image;
}

quint32 glyphIndex(const QRawFont& font, QChar character)
{
    const auto index = font.glyphIndexesForString(character).value(0);
    if (index == 0)
        qFatal("The font lacks a character.");
    return index;
}

qreal naturalAdvance(const QRawFont& font, QChar character)
{
    return font.advancesForGlyphIndexes({ glyphIndex(font, character) }).value(0).x();
}

/// All digits are as wide as the widest, so that a badge keeps its width while it counts.
qreal advanceOf(const QRawFont& font, QChar character)
{
    if (!character.isDigit())
        return naturalAdvance(font, character);
    qreal widest = 0;
    for (char digit = '0'; digit <= '9'; ++digit)
        widest = std::max(widest, naturalAdvance(font, QLatin1Char(digit)));
    return widest;
}

/// As outlines, so that it depends on the font alone and on nobody's settings for text.
Glyph glyph(Table& table, const QRawFont& font, const BadgeSize& size, QChar character)
{
    const int advance = static_cast<int>(std::lround(advanceOf(font, character)));
    const int baseline = static_cast<int>(std::lround((size.height + font.capHeight()) / 2));
    const qreal left = (advance - naturalAdvance(font, character)) / 2;
    const QPainterPath outline = font.pathForGlyph(glyphIndex(font, character)).translated(left, baseline);
    const QRect bounds = outline.boundingRect().toAlignedRect();

    QImage image = emptyImage(bounds.size());
    if (!bounds.isEmpty()) {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.fillPath(outline.translated(-bounds.topLeft()), Qt::white);
    }
    return { character.unicode(), bounds.left(), bounds.top(), advance, addShape(table, image) };
}

Table draw(const QString& fontFile, const QString& drawings)
{
    Table table;
    for (const BadgeSize& size : badgeSizes) {
        const QRawFont font(fontFile, size.text, QFont::PreferNoHinting);
        if (!font.isValid())
            qFatal("The font cannot be read.");
        Badge badge {};
        badge.height = size.height;
        badge.corner = addShape(table, corner(size));
        badge.icon = addShape(table, icon(drawings, size.icon));
        badge.firstGlyph = static_cast<int>(table.glyphs.size());
        badge.glyphCount = static_cast<int>(characters.size());
        for (const QChar character : characters)
            table.glyphs.push_back(glyph(table, font, size, character));
        table.badges.push_back(badge);
    }
    return table;
}

QTextStream& operator<<(QTextStream& out, const Shape& shape)
{
    return out << "{ " << shape.width << ", " << shape.height << ", " << shape.start << " }";
}

void write(const Table& table, QTextStream& out)
{
    out << "// Drawn by draw-badges.\n#pragma once\n\n#include \"platform/linux/bar/badges/Badge.h\"\n\n";
    out << "constexpr unsigned char coverage[] {";
    for (qsizetype i = 0; i < table.coverage.size(); ++i)
        out << (i % 32 == 0 ? "\n    " : " ") << static_cast<unsigned char>(table.coverage[i]) << ',';
    out << "\n};\n\nconstexpr Glyph glyphs[] {\n";
    for (const Glyph& glyph : table.glyphs) {
        out << "    { " << static_cast<uint>(glyph.character) << ", " << glyph.left << ", " << glyph.top
            << ", " << glyph.advance << ", " << glyph.shape << " },\n";
    }
    out << "};\n\nconstexpr Badge badges[] {\n";
    for (const Badge& badge : table.badges) {
        out << "    { " << badge.height << ", " << badge.corner << ", " << badge.icon << ", "
            << badge.firstGlyph << ", " << badge.glyphCount << " },\n";
    }
    out << "};\n";
}

}

int main(int argc, char* argv[])
{
    if (argc != 4)
        qFatal("usage: draw-badges FONT DRAWINGS TABLE");
    const QString fontFile = argv[1];
    const QString drawings = argv[2];
    const QString tableFile = argv[3];

    // A build has no display, and takes nothing from the desktop that it happens to run on.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication::setDesktopSettingsAware(false);
    argc = 1;
    const QGuiApplication application(argc, argv);

    const Table table = draw(fontFile, drawings);
    QFile file(tableFile);
    if (!file.open(QFile::WriteOnly))
        qFatal("The table cannot be written.");
    QTextStream out(&file);
    write(table, out);
    out.flush();
    return out.status() == QTextStream::Ok ? 0 : 1;
}
