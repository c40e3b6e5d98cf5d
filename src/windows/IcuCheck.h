#pragma once

#include "support/Fatal.h"

#include <unicode/utypes.h>

/// Ends the program when ICU has failed: what it is asked for here fails only without its data or without
/// memory.
inline void check(UErrorCode status)
{
    if (U_FAILURE(status))
        fatal();
}
