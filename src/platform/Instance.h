#pragma once

#include <functional>

/// The place of the one instance that runs, counts and writes the program's files.
class Instance {
public:
    virtual ~Instance() = default;

    /// Takes the place, to the end of the process. False when this process must leave without touching the
    /// program's files: another instance has the place, and has been told that it was started again. Waits
    /// for an instance that is about to end.
    [[nodiscard]] virtual bool claim() = 0;
    /// Calls on the main thread each time that the program is started again, from the first turn of the event
    /// loop on; none of them is missed.
    virtual void onStartedAgain(std::function<void()> startedAgain) = 0;
};
