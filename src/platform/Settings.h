#pragma once

#include <string_view>

/// The user's settings, kept from one run to the next. A setting that cannot be written keeps its old value
/// on disk.
class Settings {
public:
    virtual ~Settings() = default;

    /// False when the key is absent or is not a boolean.
    virtual bool boolean(std::string_view key) const = 0;
    /// Written at once.
    virtual void setBoolean(std::string_view key, bool value) = 0;
};
