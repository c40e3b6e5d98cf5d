#pragma once

#include "platform/Clock.h"

class SystemClock final : public Clock {
public:
    Moment now() const override;
};
