#pragma once

#include "platform/Clock.h"

#include <memory>
#include <optional>
#include <string>

/// The moments from `begin` up to but not including `end`, all of which share one day key.
struct DaySpan {
    std::string key;
    Moment begin;
    Moment end;

    bool contains(Moment moment) const { return begin <= moment && moment < end; }
};

/// Turns moments into day keys ("yyyy-MM-dd") of one locale, calendar and time zone, and keys back into
/// moments.
class DayFormatter final {
public:
    /// `locale` is an ICU locale such as "de_DE" or "th_TH"; it brings its calendar and digits. `zone` is an
    /// Olson id such as "Europe/Berlin".
    DayFormatter(const std::string& locale, const std::string& zone);
    /// The user's own locale for dates and the zone of the machine, as they are now.
    static DayFormatter forUser();
    DayFormatter(DayFormatter&&) noexcept;
    ~DayFormatter();

    std::string key(Moment moment) const;
    /// The key with a stretch of time around the moment, at most to the ends of its day, in which the key
    /// stays the same: comparing is much cheaper than making a key.
    DaySpan span(Moment moment) const;
    /// The beginning of the day that the key names; nothing when this formatter could not have made the key.
    std::optional<Moment> parse(const std::string& key) const;

private:
    struct Icu;
    std::unique_ptr<Icu> icu;
};
