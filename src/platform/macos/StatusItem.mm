#include "platform/macos/StatusItem.h"

#include "platform/macos/Screens.h"
#include "platform/macos/Strings.h"

#import <AppKit/AppKit.h>

#include <utility>

/// Takes the clicks on the item and on its menu, which go to objects.
@interface KnuckletItemTarget : NSObject
- (instancetype)initWithItem:(NSStatusItem*)newItem
                   activated:(MenuBarAction)newActivated
                    commands:(std::vector<MenuBarCommand>)newCommands;
- (void)clicked:(id)sender;
- (void)chosen:(NSMenuItem*)sender;
@end

@implementation KnuckletItemTarget {
    NSStatusItem* item;
    MenuBarAction activated;
    std::vector<MenuBarCommand> commands;
}

- (instancetype)initWithItem:(NSStatusItem*)newItem
                   activated:(MenuBarAction)newActivated
                    commands:(std::vector<MenuBarCommand>)newCommands
{
    self = [super init];
    if (self) {
        item = newItem;
        activated = std::move(newActivated);
        commands = std::move(newCommands);
    }
    return self;
}

/// The middle of the item's lower edge, under which the panel opens.
- (std::optional<ScreenPixel>)place
{
    NSWindow* const window = item.button.window;
    if (!window)
        return {};
    return screenPixel(NSMakePoint(NSMidX(window.frame), NSMinY(window.frame)));
}

- (void)clicked:(id)__unused sender
{
    NSEvent* const event = NSApp.currentEvent;
    const bool wantsMenu
        = event.type == NSEventTypeRightMouseUp || (event.modifierFlags & NSEventModifierFlagControl) != 0;
    if (wantsMenu)
        [self showMenu];
    else
        activated([self place]);
}

- (void)showMenu
{
    NSMenu* const menu = [[NSMenu alloc] initWithTitle:@""];
    for (std::size_t i = 0; i < commands.size(); ++i) {
        NSMenuItem* const entry = [menu addItemWithTitle:systemString(commands[i].title)
                                                  action:@selector(chosen:)
                                           keyEquivalent:@""];
        entry.target = self;
        entry.tag = static_cast<NSInteger>(i);
    }
    NSStatusBarButton* const button = item.button;
    if (!button)
        return;
    [menu popUpMenuPositioningItem:nil atLocation:NSMakePoint(0, NSMaxY(button.bounds)) inView:button];
}

- (void)chosen:(NSMenuItem*)sender
{
    commands[static_cast<std::size_t>(sender.tag)].action([self place]);
}

@end

// The bar draws menus itself.
void StatusItem::install(MenuBarAction activated, std::vector<MenuBarCommand> commands, ShowMenu)
{
    item = [NSStatusBar.systemStatusBar statusItemWithLength:NSVariableStatusItemLength];
    target = [[KnuckletItemTarget alloc] initWithItem:item
                                            activated:std::move(activated)
                                             commands:std::move(commands)];
    NSStatusBarButton* const button = item.button;
    NSImage* const image = [NSImage imageWithSystemSymbolName:@"keyboard.fill"
                                     accessibilityDescription:@"Knucklet"];
    [image setTemplate:YES];
    button.image = image;
    button.target = target;
    button.action = @selector(clicked:);
    [button sendActionOn:NSEventMaskLeftMouseUp | NSEventMaskRightMouseUp];
    updateButton();
}

void StatusItem::setLabel(const MenuBarLabel& newLabel)
{
    if (newLabel == label)
        return;
    label = newLabel;
    updateButton();
}

bool StatusItem::isShown() const { return item.visible; }

void StatusItem::updateButton()
{
    NSStatusBarButton* const button = item.button;
    button.title = systemString(label.text);
    button.toolTip = systemString(label.toolTip);
    button.imagePosition = label.text.empty() ? NSImageOnly : NSImageLeading;
}
