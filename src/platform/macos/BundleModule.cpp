#include "support/Module.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <mach-o/dyld.h>
#include <sys/param.h>
#include <unistd.h>

#include <array>
#include <filesystem>

// The modules of an application bundle lie in Contents/PlugIns, beside Contents/MacOS.
Module::Module(const char* name)
{
    std::array<char, MAXPATHLEN> program {};
    std::uint32_t size = program.size();
    if (_NSGetExecutablePath(program.data(), &size) != 0)
        return;
    const auto contents = std::filesystem::path(program.data()).parent_path().parent_path();
    file = open((contents / "PlugIns" / name).c_str(), O_RDONLY | O_CLOEXEC);
}

Module::~Module()
{
    if (file >= 0)
        close(file);
}

void* Module::load(const char* symbol) const
{
    std::array<char, MAXPATHLEN> path {};
    if (file < 0 || fcntl(file, F_GETPATH, path.data()) != 0)
        return nullptr;
    auto* const handle = dlopen(path.data(), RTLD_NOW);
    return handle ? dlsym(handle, symbol) : nullptr;
}
