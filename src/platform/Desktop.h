#pragma once

#include <functional>

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
};
