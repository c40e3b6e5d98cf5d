#pragma once

#include "platform/MenuBarItem.h"
#include "platform/PanelHost.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// The menu bar, and the screen below it.
class FakeMenuBar final
    : public MenuBarItem
    , public PanelHost {
public:
    explicit FakeMenuBar(std::vector<std::string>& calls)
        : calls(calls)
    {
    }

    void clickItem(ScreenPixel place)
    {
        if (itemActivated)
            itemActivated(place);
    }
    void chooseCommand(const std::string& title, std::optional<ScreenPixel> place);
    void pressOutside();

    const std::optional<MenuBarLabel>& shownLabel() const { return label; }
    std::vector<std::string> commands() const;

    void install(MenuBarAction activated, std::vector<MenuBarCommand> commands, ShowMenu showMenu) override;
    void setLabel(const MenuBarLabel& newLabel) override;
    bool isShown() const override { return isThere; }
    ScreenPoint pointAt(std::optional<ScreenPixel> place) override;
    ScreenArea workArea(ScreenPoint) const override { return freeArea; }
    void prepare(NativeWindow) override { calls.emplace_back("prepare panel"); }
    void watchPressesOutside(std::function<void()> pressed) override;
    void stopWatching() override;
    bool isClickSpent() const override { return pressHeld; }

    bool isThere = true;
    bool pressHeld = false;
    ScreenArea freeArea { .x = 0, .y = 28, .width = 800, .height = 572 };

private:
    std::vector<std::string>& calls;
    MenuBarAction itemActivated;
    std::vector<MenuBarCommand> menu;
    std::optional<MenuBarLabel> label;
    std::function<void()> pressedOutside;
};
