#include "platform/macos/OneInstance.h"

#import <AppKit/AppKit.h>

#include <utility>

namespace {

using namespace std::chrono_literals;

/// How long an instance that makes way may take to end.
constexpr auto patience = 10s;

NSString* const startedAgainName = @"org.knucklet.Knucklet.startedAgain";

}

/// Hears of each start while the application runs: from the Finder and its like, and from another process.
@interface KnuckletDelegate : NSObject <NSApplicationDelegate>
- (void)hearOfStarts;
- (void)startedAgain:(NSNotification*)notification;
- (void)setHandler:(std::function<void()>)newHandler;
@end

@implementation KnuckletDelegate {
    std::function<void()> handler;
    BOOL wasStartedAgain;
}

- (void)hearOfStarts
{
    [NSDistributedNotificationCenter.defaultCenter
               addObserver:self
                  selector:@selector(startedAgain:)
                      name:startedAgainName
                    object:nil
        suspensionBehavior:NSNotificationSuspensionBehaviorDeliverImmediately];
}

- (void)startedAgain:(NSNotification*)__unused notification
{
    if (handler)
        handler();
    else
        wasStartedAgain = YES;
}

- (void)setHandler:(std::function<void()>)newHandler
{
    handler = std::move(newHandler);
    if (!wasStartedAgain)
        return;
    wasStartedAgain = NO;
    const auto call = handler;
    dispatch_async(dispatch_get_main_queue(), ^{ call(); });
}

- (BOOL)applicationShouldHandleReopen:(NSApplication*)__unused application
                    hasVisibleWindows:(BOOL)__unused hasVisibleWindows
{
    if (handler)
        handler();
    return NO;
}

@end

OneInstance::OneInstance(std::filesystem::path folder)
    : place(std::move(folder))
    , delegate([[KnuckletDelegate alloc] init])
{
}

OneInstance::~OneInstance() { [NSDistributedNotificationCenter.defaultCenter removeObserver:delegate]; }

bool OneInstance::claim()
{
    if (!place.claim(patience)) {
        [NSDistributedNotificationCenter.defaultCenter postNotificationName:startedAgainName
                                                                     object:nil
                                                                   userInfo:nil
                                                         deliverImmediately:YES];
        return false;
    }
    [delegate hearOfStarts];
    NSApp.delegate = delegate;
    return true;
}

void OneInstance::onStartedAgain(std::function<void()> startedAgain)
{
    [delegate setHandler:std::move(startedAgain)];
}

void OneInstance::makeWay() const { place.makeWay(); }
