#pragma once

#include "tap/Confinement.h"

#include <dirent.h>
#include <unistd.h>

/// Calls with the open folder and the name of each entry. False when the folder cannot be read.
template <typename Visit>
bool forEachEntry(const char* path, Visit visit)
{
    const int folder = open(path, openFlags);
    if (folder < 0)
        return false;
    alignas(dirent64) char entries[4096];
    ssize_t size = 0;
    while ((size = getdents64(folder, entries, sizeof entries)) > 0) {
        for (char* next = entries; next < entries + size;) {
            const auto& entry = *reinterpret_cast<const dirent64*>(next);
            visit(folder, entry.d_name);
            next += entry.d_reclen;
        }
    }
    close(folder);
    return size == 0;
}
