#pragma once

#include "platform/Clock.h"

class WallClock final : public Clock {
public:
    Moment now() const override;
};
