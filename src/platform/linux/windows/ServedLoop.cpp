#include "platform/linux/windows/ServedLoop.h"

ServedLoop::ServedLoop(EventLoop& loop)
    : notifier(loop.descriptor(), QSocketNotifier::Read)
{
    QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [&loop] { loop.dispatch(); });
}
