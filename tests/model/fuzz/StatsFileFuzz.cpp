#include "model/fuzz/ReferenceParser.h"

#include <cstdint>
#include <cstdlib>

/// Feeds the reader of the stats file with whatever the fuzzer thinks up; it stops at the first difference.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (!difference({ reinterpret_cast<const char*>(data), size }).empty())
        std::abort();
    return 0;
}
