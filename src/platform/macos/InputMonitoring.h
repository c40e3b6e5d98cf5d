#pragma once

#include "platform/ListenAccess.h"

/// The system's own permission, "Input Monitoring" among its privacy settings.
class InputMonitoring final : public ListenAccess {
public:
    bool preflight() override;
    void request() override;
    std::string commandToGrant() override { return {}; }
};
