#include "platform/linux/bar/MenuBarIcon.h"

#include "BadgeTable.h"
#include "platform/linux/process/BaseFolders.h"
#include "support/InstalledFiles.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <span>
#include <string_view>
#include <system_error>
#include <utility>

namespace {

namespace fs = std::filesystem;

std::span<const Glyph> glyphsOf(const Badge& badge)
{
    return std::span(glyphs).subspan(
        static_cast<std::size_t>(badge.firstGlyph), static_cast<std::size_t>(badge.glyphCount));
}

const Glyph* glyphOf(const Badge& badge, char32_t character)
{
    const auto all = glyphsOf(badge);
    const auto found = std::ranges::find(all, character, &Glyph::character);
    return found == all.end() ? nullptr : &*found;
}

/// A glyph for each character of a text in UTF-8. None has more than two bytes there, and what has no glyph
/// is left out.
std::vector<const Glyph*> glyphsOf(const Badge& badge, std::string_view text)
{
    std::vector<const Glyph*> found;
    unsigned char lead = 0;
    for (const char each : text) {
        const auto byte = static_cast<unsigned char>(each);
        char32_t character = byte;
        // Of longer characters every byte but the first follows no lead.
        if (byte >= 0x80) {
            const auto previous = std::exchange(lead, byte);
            if ((byte & 0xc0) != 0x80 || (previous & 0xe0) != 0xc0)
                continue;
            character = char32_t { (previous & 0x1fU) << 6 | (byte & 0x3fU) };
        }
        lead = 0;
        if (const Glyph* glyph = glyphOf(badge, character))
            found.push_back(glyph);
    }
    return found;
}

int widthOf(const std::vector<const Glyph*>& text)
{
    int width = 0;
    for (const Glyph* glyph : text)
        width += glyph->advance;
    return width;
}

int coverageAt(const Shape& shape, int x, int y) { return coverage[shape.start + y * shape.width + x]; }

/// What is drawn with.
class Canvas final {
public:
    Canvas(int width, int height)
        : pixmap { width, height, std::string(static_cast<std::size_t>(4 * width * height), '\0') }
    {
        for (std::size_t i = 0; i < pixmap.pixels.size(); ++i)
            pixmap.pixels[i] = static_cast<char>(i % 4 == 0 ? 0xff : badgeColor);
    }

    void roundCorners(const Shape& corner)
    {
        for (int y = 0; y < corner.height; ++y) {
            for (int x = 0; x < corner.width; ++x) {
                const int alpha = coverageAt(corner, x, y);
                for (const int column : { x, pixmap.width - 1 - x }) {
                    setAlpha(column, y, alpha);
                    setAlpha(column, pixmap.height - 1 - y, alpha);
                }
            }
        }
    }

    /// What reaches beyond the canvas is left out.
    void drawInk(const Shape& shape, int left, int top)
    {
        for (int y = std::max(0, -top); y < std::min(shape.height, pixmap.height - top); ++y) {
            for (int x = std::max(0, -left); x < std::min(shape.width, pixmap.width - left); ++x)
                addInk(left + x, top + y, coverageAt(shape, x, y));
        }
    }

    void drawText(const std::vector<const Glyph*>& text, int pen)
    {
        for (const Glyph* glyph : text) {
            drawInk(glyph->shape, pen + glyph->left, glyph->top);
            pen += glyph->advance;
        }
    }

    IconPixmap taken() { return std::move(pixmap); }

private:
    char* at(int x, int y)
    {
        return pixmap.pixels.data() + static_cast<std::ptrdiff_t>(4) * (y * pixmap.width + x);
    }
    /// A pixel that nothing of the badge covers has no color either.
    void setAlpha(int x, int y, int alpha)
    {
        char* pixel = at(x, y);
        pixel[0] = static_cast<char>(alpha);
        if (alpha == 0)
            std::fill_n(pixel, 4, '\0');
    }
    void addInk(int x, int y, int coverage)
    {
        char* pixel = at(x, y);
        for (int part = 1; part < 4; ++part) {
            const int below = static_cast<unsigned char>(pixel[part]);
            pixel[part] = static_cast<char>(below + ((inkColor - below) * coverage + 127) / 255);
        }
    }

    IconPixmap pixmap;
};

IconPixmap badgePixmap(const Badge& badge, const std::string& text)
{
    const auto glyphs = glyphsOf(badge, text);
    const int gap = badge.height / 6;
    const int textWidth = glyphs.empty() ? 0 : gap + widthOf(glyphs) + gap / 2;
    // Alone, the icon stands in the middle of a square.
    const int margin = (badge.height - badge.icon.width) / 2;

    Canvas canvas(badge.height + textWidth, badge.height);
    canvas.roundCorners(badge.corner);
    canvas.drawInk(badge.icon, margin, margin);
    canvas.drawText(glyphs, margin + badge.icon.width + gap);
    return canvas.taken();
}

/// The largest one that is no higher than this, or the smallest.
const Badge& badgeFor(int height)
{
    const auto larger
        = std::ranges::find_if(badges, [&](const Badge& badge) { return badge.height > height; });
    return larger == std::begin(badges) ? *larger : *std::prev(larger);
}

}

std::string menuBarIconName() { return "org.knucklet.Knucklet-symbolic"; }

std::string menuBarIconThemePath()
{
    const auto share = sharedFolder("icons/hicolor/symbolic/apps/" + menuBarIconName() + ".svg");
    if (!share)
        return {};
    const auto icons = *share / "icons";
    const auto isSearched
        = [&](const fs::path& folder) { return (folder / "icons").lexically_normal() == icons; };
    return std::ranges::any_of(dataFolders(), isSearched) ? std::string() : icons.string();
}

std::vector<IconPixmap> menuBarIconPixmaps(const std::string& text)
{
    std::vector<IconPixmap> pixmaps;
    for (const Badge& badge : badges)
        pixmaps.push_back(badgePixmap(badge, text));
    return pixmaps;
}

IconPixmap menuBarIconPixmap(int height) { return badgePixmap(badgeFor(height), {}); }

IconPixmap toolTipPixmap(const std::string& text, int height)
{
    const Badge& badge = badgeFor(height);
    const auto glyphs = glyphsOf(badge, text);
    const int margin = badge.height / 4;

    Canvas canvas(margin + widthOf(glyphs) + margin, badge.height);
    canvas.drawText(glyphs, margin);
    return canvas.taken();
}
