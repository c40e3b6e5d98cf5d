#pragma once

/// A picture that says of each pixel how much of it is covered, from 0 to 255, row by row, in the array
/// `coverage` of the table from this place on.
struct Shape {
    int width;
    int height;
    int start;
};

/// A character of the text on badges of one size: where its shape lies, seen from the pen on the upper edge
/// of the badge, and how far the pen moves on.
struct Glyph {
    char32_t character;
    int left;
    int top;
    int advance;
    Shape shape;
};

/// What the badges of one height are composed of, in pixels. The glyphs are `glyphCount` ones of the array
/// `glyphs` of the table from `firstGlyph` on.
struct Badge {
    int height;
    /// The upper left corner of the ground.
    Shape corner;
    Shape icon;
    int firstGlyph;
    int glyphCount;
};
