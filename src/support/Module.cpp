#include "support/Module.h"

#include "support/Debug.h"
#include "support/InstalledFiles.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <string>

Module::Module(const char* name)
{
    if (const auto path = moduleFile(name))
        file = open(path->c_str(), O_RDONLY | O_CLOEXEC);
}

Module::~Module()
{
    if (file >= 0)
        close(file);
}

void* Module::load(const char* symbol) const
{
    if (file < 0) {
        tellDeveloper("There is no module with " + std::string(symbol));
        return nullptr;
    }
    auto* const handle = dlopen(("/proc/self/fd/" + std::to_string(file)).c_str(), RTLD_NOW);
    if (!handle) {
        tellDeveloper(dlerror());
        return nullptr;
    }
    return dlsym(handle, symbol);
}
