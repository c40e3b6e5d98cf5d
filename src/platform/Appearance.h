#pragma once

#include "support/Observers.h"

#include <functional>
#include <optional>

enum class ColorScheme { Light, Dark };
enum class Motion { Full, Reduced };

/// The color in which the user wants to see what is chosen, in sRGB from 0 to 1.
struct AccentColor {
    double red = 0;
    double green = 0;
    double blue = 0;

    bool operator==(const AccentColor&) const = default;
};

/// How the user wants every program to look. Each answer may change while the program runs.
class Appearance {
public:
    virtual ~Appearance() = default;

    virtual ColorScheme colorScheme() const = 0;
    virtual Motion motion() const = 0;
    /// Nothing where the user has no such wish, or the desktop does not say.
    virtual std::optional<AccentColor> accent() const = 0;
    /// Calls after one of the answers has changed, for as long as the subscription is kept.
    [[nodiscard]] virtual Observers::Subscription observe(std::function<void()> changed) = 0;
};
