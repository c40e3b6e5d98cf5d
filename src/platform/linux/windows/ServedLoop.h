#pragma once

#include "platform/linux/process/EventLoop.h"

#include <QSocketNotifier>

/// Lets the toolkit's loop serve the program's own. Needs the application object.
class ServedLoop final {
public:
    explicit ServedLoop(EventLoop& loop);

private:
    QSocketNotifier notifier;
};
