#pragma once

#include "platform/MenuBarItem.h"

@class KnuckletItemTarget;
@class NSStatusItem;

/// The item of the system's status bar: a template image, which the bar draws in its own color, and the
/// counts as the button's title.
class StatusItem final : public MenuBarItem {
public:
    void install(MenuBarAction activated, std::vector<MenuBarCommand> commands, ShowMenu showMenu) override;
    void setLabel(const MenuBarLabel& newLabel) override;
    bool isShown() const override;

private:
    void updateButton();

    NSStatusItem* item = nullptr;
    KnuckletItemTarget* target = nullptr;
    MenuBarLabel label;
};
