#pragma once

#include <string_view>

/// Tells a developer what the program keeps to itself: a debug build writes it to stderr as a line that
/// begins with "debug: ", every other build does nothing.
void tellDeveloper(std::string_view what);
