#pragma once

#include_next <fcntl.h>

/// The path of an open file, which Linux has elsewhere.
#define F_GETPATH 50
