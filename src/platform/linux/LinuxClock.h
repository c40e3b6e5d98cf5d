#pragma once

#include "platform/Clock.h"

class LinuxClock final : public Clock {
public:
    Moment now() const override;
};
