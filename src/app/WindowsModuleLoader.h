#pragma once

#include "support/Module.h"

#include <memory>

class AppState;
class Platform;
class Windows;

/// Loads the windows when the first one opens: most of a day nobody looks.
class WindowsModuleLoader final {
public:
    /// The program's windows on the platform that `makePlatform` has made; both must outlive them. Nothing
    /// where they cannot be had: the module is missing or of another build, or the display does not answer.
    std::unique_ptr<Windows> load(Platform& platform, AppState& state) const;

private:
    Module module { "knucklet-windows.so" };
};
