#pragma once

#include <sys/resource.h>

/// From here on this process leaves no core file when it crashes, in which the last keys could be found.
void leaveNoCoreFile();

/// While it lives, what is started may leave core files as this process might once.
class ChildrenMayLeaveCoreFiles final {
public:
    ChildrenMayLeaveCoreFiles();
    ChildrenMayLeaveCoreFiles(const ChildrenMayLeaveCoreFiles&) = delete;
    ChildrenMayLeaveCoreFiles& operator=(const ChildrenMayLeaveCoreFiles&) = delete;
    ~ChildrenMayLeaveCoreFiles();

private:
    rlimit here {};
};
