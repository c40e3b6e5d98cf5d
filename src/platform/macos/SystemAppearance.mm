#include "platform/macos/SystemAppearance.h"

#import <AppKit/AppKit.h>

#include <utility>

namespace {

NSString* const appearanceKey = @"effectiveAppearance";

}

/// Hears of changes, of which the system tells objects only.
@interface KnuckletAppearanceListener : NSObject
- (instancetype)initWithObservers:(Observers*)newObservers;
- (void)stop;
- (void)changed:(NSNotification*)notification;
@end

@implementation KnuckletAppearanceListener {
    Observers* observers;
}

- (instancetype)initWithObservers:(Observers*)newObservers
{
    self = [super init];
    if (self) {
        observers = newObservers;
        [NSApp addObserver:self
                forKeyPath:appearanceKey
                   options:NSKeyValueObservingOptionNew
                   context:nullptr];
        [NSNotificationCenter.defaultCenter addObserver:self
                                               selector:@selector(changed:)
                                                   name:NSSystemColorsDidChangeNotification
                                                 object:nil];
        [NSWorkspace.sharedWorkspace.notificationCenter
            addObserver:self
               selector:@selector(changed:)
                   name:NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification
                 object:nil];
    }
    return self;
}

- (void)stop
{
    [NSApp removeObserver:self forKeyPath:appearanceKey];
    [NSNotificationCenter.defaultCenter removeObserver:self];
    [NSWorkspace.sharedWorkspace.notificationCenter removeObserver:self];
}

- (void)changed:(NSNotification*)__unused notification
{
    observers->notify();
}

- (void)observeValueForKeyPath:(NSString*)__unused keyPath
                      ofObject:(id)__unused object
                        change:(NSDictionary<NSKeyValueChangeKey, id>*)__unused change
                       context:(void*)__unused context
{
    observers->notify();
}

@end

SystemAppearance::SystemAppearance()
    : listener([[KnuckletAppearanceListener alloc] initWithObservers:&observers])
{
}

SystemAppearance::~SystemAppearance() { [listener stop]; }

ColorScheme SystemAppearance::colorScheme() const
{
    NSString* const name = [NSApp.effectiveAppearance
        bestMatchFromAppearancesWithNames:@[ NSAppearanceNameAqua, NSAppearanceNameDarkAqua ]];
    return [name isEqualToString:NSAppearanceNameDarkAqua] ? ColorScheme::Dark : ColorScheme::Light;
}

Motion SystemAppearance::motion() const
{
    return NSWorkspace.sharedWorkspace.accessibilityDisplayShouldReduceMotion ? Motion::Reduced
                                                                              : Motion::Full;
}

std::optional<AccentColor> SystemAppearance::accent() const
{
    NSColor* const color = [NSColor.controlAccentColor colorUsingColorSpace:NSColorSpace.sRGBColorSpace];
    if (!color)
        return {};
    return AccentColor { color.redComponent, color.greenComponent, color.blueComponent };
}

Observers::Subscription SystemAppearance::observe(std::function<void()> changed)
{
    return observers.add(std::move(changed));
}
