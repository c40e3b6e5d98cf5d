#pragma once

class AppState;
class Platform;
class Windows;

/// What the windows' module, knucklet-windows.so, is loaded for: the windows on that platform, which both
/// must outlive. They belong to the caller. Null where no window can be shown, and for another build than the
/// module's own, which would take objects for what they are not.
extern "C" [[gnu::visibility("default")]] Windows* knuckletWindows(
    const char* build, Platform* platform, AppState* state);
