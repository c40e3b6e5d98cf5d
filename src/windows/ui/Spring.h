#pragma once

/// A spring on its way to rest, for movements that the eye follows. It is worked out exactly: where it is
/// does not depend on how often it is looked at.
struct Spring {
    /// Seconds that one swing would take without damping.
    double response = 0.2;
    /// 1 would not swing at all.
    double dampingFraction = 0.85;

    void advance(double seconds);
    /// Too close to the end for anybody to see the rest.
    bool isAtRest() const;

    /// From where it comes to rest, and how much that changes in a second.
    double offset = 0;
    double velocity = 0;
};
