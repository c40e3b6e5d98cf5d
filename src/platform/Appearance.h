#pragma once

#include "support/Observers.h"

#include <functional>

enum class ColorScheme { Light, Dark };
enum class Motion { Full, Reduced };

/// How the user wants every program to look. Either answer may change while the program runs.
class Appearance {
public:
    virtual ~Appearance() = default;

    virtual ColorScheme colorScheme() const = 0;
    virtual Motion motion() const = 0;
    /// Calls after one of the answers has changed, for as long as the subscription is kept.
    [[nodiscard]] virtual Observers::Subscription observe(std::function<void()> changed) = 0;
};
