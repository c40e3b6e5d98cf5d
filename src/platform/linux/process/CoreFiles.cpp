#include "platform/linux/process/CoreFiles.h"

#include <algorithm>
#include <optional>

namespace {

// Not 0: where the kernel hands cores to a program, as to those that collect crashes, it heeds this limit
// only.
constexpr rlim_t none = 1;

std::optional<rlim_t> limitBefore;

void setLimit(rlim_t limit)
{
    rlimit both {};
    if (getrlimit(RLIMIT_CORE, &both) != 0)
        return;
    both.rlim_cur = std::min(limit, both.rlim_max);
    setrlimit(RLIMIT_CORE, &both);
}

}

void leaveNoCoreFile()
{
    rlimit both {};
    if (!limitBefore && getrlimit(RLIMIT_CORE, &both) == 0)
        limitBefore = both.rlim_cur;
    setLimit(none);
}

ChildrenMayLeaveCoreFiles::ChildrenMayLeaveCoreFiles()
{
    getrlimit(RLIMIT_CORE, &here);
    if (limitBefore)
        setLimit(*limitBefore);
}

ChildrenMayLeaveCoreFiles::~ChildrenMayLeaveCoreFiles() { setLimit(here.rlim_cur); }
