#pragma once

#include "model/CivilDay.h"

#include <memory>
#include <optional>
#include <string>

class DayKeys;

/// The moments from `begin` up to but not including `end`, all of which share one day key.
struct DaySpan {
    std::string key;
    Moment begin;
    Moment end;

    bool contains(Moment moment) const { return begin <= moment && moment < end; }
};

/// Turns moments into day keys ("yyyy-MM-dd") of one locale and its calendar, and keys back into days. Which
/// day a moment is of, the machine's zone tells.
class DayFormatter final {
public:
    /// `locale` is an ICU locale such as "de_DE" or "th_TH"; it brings its calendar and digits.
    explicit DayFormatter(const std::string& locale);
    /// The user's own locale for dates, as it is now.
    static DayFormatter forUser();
    DayFormatter(DayFormatter&&) noexcept;
    ~DayFormatter();

    std::string key(CivilDay day) const;
    std::string key(Moment moment) const;
    /// The key with a stretch of time around the moment, at most to the ends of its day, in which the key
    /// stays the same: comparing is much cheaper than making a key.
    DaySpan span(Moment moment) const;
    /// The day that the key names; nothing when this formatter could not have made the key.
    std::optional<CivilDay> parse(const std::string& key) const;

private:
    std::unique_ptr<DayKeys> keys;
};
