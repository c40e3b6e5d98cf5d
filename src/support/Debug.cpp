#include "support/Debug.h"

#include <cstdio>

void tellDeveloper([[maybe_unused]] std::string_view what)
{
    if constexpr (KNUCKLET_IS_DEBUG_BUILD)
        std::fprintf(stderr, "debug: %.*s\n", static_cast<int>(what.size()), what.data());
}
