#include "platform/macos/Workspace.h"

#include "platform/macos/Strings.h"
#include "support/Fatal.h"

#import <AppKit/AppKit.h>

#include <utility>

Workspace::Workspace(std::function<void()> makeWay)
    : makeWay(std::move(makeWay))
{
}

void Workspace::onWillTerminate(std::function<void()> observer)
{
    [NSNotificationCenter.defaultCenter addObserverForName:NSApplicationWillTerminateNotification
                                                    object:nil
                                                     queue:NSOperationQueue.mainQueue
                                                usingBlock:^(NSNotification*) { observer(); }];
}

void Workspace::terminate() { [NSApp terminate:nil]; }

// The answer may come on any thread.
void Workspace::openNewInstance(std::function<void()> done)
{
    makeWay();
    NSWorkspaceOpenConfiguration* const configuration = [NSWorkspaceOpenConfiguration configuration];
    configuration.createsNewApplicationInstance = YES;
    [NSWorkspace.sharedWorkspace openApplicationAtURL:NSBundle.mainBundle.bundleURL
                                        configuration:configuration
                                    completionHandler:^(NSRunningApplication*, NSError*) {
                                        dispatch_async(dispatch_get_main_queue(), ^{ done(); });
                                    }];
}

void Workspace::openInputMonitoringSettings()
{
    NSURL* const url = [NSURL URLWithString:systemString(inputMonitoringSettingsUrl)];
    if (!url)
        fatal();
    [NSWorkspace.sharedWorkspace openURL:url];
}
