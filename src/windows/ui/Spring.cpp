#include "windows/ui/Spring.h"

#include <cmath>
#include <numbers>

void Spring::advance(double seconds)
{
    const double frequency = 2 * std::numbers::pi / response;
    const double decay = dampingFraction * frequency;
    const double oscillation = frequency * std::sqrt(1 - dampingFraction * dampingFraction);

    // offset(t) = fade · (a cos + b sin)
    const double a = offset;
    const double b = (velocity + decay * offset) / oscillation;
    const double fade = std::exp(-decay * seconds);
    const double cosine = std::cos(oscillation * seconds);
    const double sine = std::sin(oscillation * seconds);
    offset = fade * (a * cosine + b * sine);
    velocity = fade * oscillation * (b * cosine - a * sine) - decay * offset;
}

bool Spring::isAtRest() const { return std::abs(offset) < 0.005 && std::abs(velocity) < 0.1; }
