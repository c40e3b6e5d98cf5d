#pragma once

#include "platform/LoginItem.h"

#include <string>
#include <string_view>

/// The program's desktop entry in the user's autostart folder, or in one of the system's where the user has
/// none.
class AutostartEntry final : public LoginItem {
public:
    LoginItemStatus status() override;
    bool registerItem() override;
    bool unregisterItem() override;
};

/// A desktop entry that starts this executable, whatever characters its path is made of.
std::string autostartEntry(std::string_view executable);
