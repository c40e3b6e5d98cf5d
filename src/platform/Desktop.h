#pragma once

#include <functional>
#include <string_view>

/// Where the user grants the right to observe key presses, on the system that has such a place.
inline constexpr std::string_view inputMonitoringSettingsUrl
    = "x-apple.systempreferences:com.apple.preference.security?Privacy_ListenEvent";
static_assert(inputMonitoringSettingsUrl.size() == 75);

/// The running application and the desktop around it.
class Desktop {
public:
    virtual ~Desktop() = default;

    /// Calls on the main thread before the process ends in an orderly way: at the user's quit, at a request
    /// of the system to end, and at the end of the session. Input that the system had delivered by then has
    /// been counted. The observer stays for the life of the process.
    virtual void onWillTerminate(std::function<void()> observer) = 0;
    /// Ends the application: the observers run, then the event loop returns.
    virtual void terminate() = 0;
    /// Asks for another instance of the program, although this one runs. `done` is called on the main thread
    /// when the system has answered, whatever it says.
    virtual void openNewInstance(std::function<void()> done) = 0;
    /// Opens the system's settings at `inputMonitoringSettingsUrl`; does nothing where there is no such
    /// place. Nobody learns whether it worked.
    virtual void openInputMonitoringSettings() = 0;
};
