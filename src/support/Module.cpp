#include "support/Module.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <system_error>

Module::Module(const char* name)
{
    std::error_code unknown;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", unknown);
    if (!program.has_parent_path())
        return;

    const auto folder = program.parent_path();
    // Installed, or as built: of the program, and of the tests, which are built into a folder of their own.
    for (const auto& modules :
        { folder / KNUCKLET_MODULES, folder / "modules", folder.parent_path() / "modules" }) {
        file = open((modules / name).c_str(), O_RDONLY | O_CLOEXEC);
        if (file >= 0)
            return;
    }
}

Module::~Module()
{
    if (file >= 0)
        close(file);
}

void* Module::load(const char* symbol) const
{
    if (file < 0)
        return nullptr;
    auto* const handle = dlopen(("/proc/self/fd/" + std::to_string(file)).c_str(), RTLD_NOW);
    return handle ? dlsym(handle, symbol) : nullptr;
}
