#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <memory>
#include <type_traits>

/// Gives back what a function of Core Foundation has created.
struct Release {
    void operator()(CFTypeRef object) const { CFRelease(object); }
};

/// The one owner of an object of Core Foundation, such as `Released<CFMachPortRef>`.
template <typename Reference>
using Released = std::unique_ptr<std::remove_pointer_t<Reference>, Release>;
