#pragma once

#include <QtGlobal>

/// What a process takes of the machine, as the kernel tells everybody. 0 throughout once it has ended.

/// The processor time of all its threads so far, in microseconds.
double processorTime(qint64 process);

/// How often one of its threads has gone to sleep so far, and with that, how often it was woken up.
qint64 wakeUps(qint64 process);

/// Memory, in megabytes of 1,000,000 bytes.
struct MemoryUse {
    /// Its share of what it has in memory: a page that several processes use counts in parts. Qt and ICU
    /// count in full, as where no other program uses them.
    double share = 0;
    /// What it alone has, and has written to. It goes with the process.
    double own = 0;
};
MemoryUse memoryUse(qint64 process);
