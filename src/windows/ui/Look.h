#pragma once

#include "platform/Appearance.h"
#include "windows/Theme.h"

#include <QColor>
#include <QFont>

#include <optional>

/// Gives the application the fonts that the program brings along. Once, before the first view.
void loadFonts();

/// Gives the application its widget style and its colors, which are the same on every desktop but for the
/// accent: the user's, or where none is known the desktop's own. May be called again at any time; what is
/// shown follows.
void applyLook(ColorScheme scheme, Motion motion, std::optional<AccentColor> accent = {});

/// The program's font; the size is in device-independent pixels.
QFont font(int size, QFont::Weight weight = QFont::Normal);

QColor resolved(const ThemeColor& color, const QColor& primary);
