#pragma once

#include "platform/LoginItem.h"

/// The application itself as a login item of the user.
class MainLoginItem final : public LoginItem {
public:
    LoginItemStatus status() override;
    bool registerItem() override;
    bool unregisterItem() override;
};
