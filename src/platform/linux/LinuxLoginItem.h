#pragma once

#include "platform/LoginItem.h"

/// The program's desktop entry in the user's autostart folder.
class LinuxLoginItem final : public LoginItem {
public:
    LoginItemStatus status() override;
};
