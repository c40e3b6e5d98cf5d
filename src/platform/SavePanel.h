#pragma once

#include <filesystem>
#include <functional>
#include <string>

/// The desktop's dialog that asks where to save something.
class SavePanel {
public:
    virtual ~SavePanel() = default;

    /// Asks for a place for a PNG file, and for nothing else. Returns at once; the panel belongs to no
    /// window, and none waits for it. `chosen` is called on the main thread once the user has chosen, and
    /// never when the user has not.
    virtual void begin(
        const std::string& proposedName, std::function<void(const std::filesystem::path&)> chosen)
        = 0;
};
