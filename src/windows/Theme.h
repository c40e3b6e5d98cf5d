#pragma once

#include <optional>

/// A color in sRGB or, without components, the primary text color of the moment, which follows light and
/// dark.
struct ThemeColor {
    struct Components {
        double red = 0;
        double green = 0;
        double blue = 0;

        bool operator==(const Components&) const = default;
    };

    constexpr ThemeColor withOpacity(double newOpacity) const
    {
        return { components, newOpacity, darkComponents };
    }

    bool operator==(const ThemeColor&) const = default;

    std::optional<Components> components;
    double opacity = 1;
    /// The components in a dark window, where they differ.
    std::optional<Components> darkComponents {};
};

/// The two accents differ in red and blue only.
constexpr ThemeColor accentColor(double red, double blue)
{
    return { .components = ThemeColor::Components { .red = red, .green = 0.72, .blue = blue } };
}

/// The colors that the program's views share.
struct Theme {
    Theme() = delete;

    /// Everything about key presses.
    static constexpr ThemeColor keyAccent = accentColor(0.98, 0.25);
    /// Everything about clicks.
    static constexpr ThemeColor clickAccent = accentColor(0.30, 0.70);
    /// The bar of a day without activity.
    static constexpr ThemeColor barEmpty { .components = {}, .opacity = 0.08 };

    /// All is as it should be.
    static constexpr ThemeColor success {
        .components = ThemeColor::Components { .red = 40 / 255.0, .green = 205 / 255.0, .blue = 65 / 255.0 },
        .darkComponents
        = ThemeColor::Components { .red = 50 / 255.0, .green = 215 / 255.0, .blue = 75 / 255.0 },
    };

    /// Around a box that is not ticked. All that tells where it is, so that it has a contrast of 3:1.
    static constexpr ThemeColor boxBorder {
        .components = ThemeColor::Components { .red = 0.5, .green = 0.5, .blue = 0.5 },
        .darkComponents = ThemeColor::Components { .red = 0.63, .green = 0.63, .blue = 0.63 },
    };

    static constexpr ThemeColor primary {};
    /// Faint enough to stand back, dark enough to keep a contrast of 4.5:1 also on the banners.
    static constexpr ThemeColor secondary { .components = {}, .opacity = 0.65 };
};
