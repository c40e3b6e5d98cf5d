#pragma once

// AppKit, as far as the program uses it.

#import <Foundation/Foundation.h>

#pragma clang assume_nonnull begin

@class NSAppearance;
@class NSMenu;
@class NSRunningApplication;
@class NSStatusBarButton;
@class NSView;
@class NSWindow;
@class UTType;
@protocol NSApplicationDelegate;

typedef NS_ENUM(NSUInteger, NSEventType) {
    NSEventTypeLeftMouseDown = 1,
    NSEventTypeLeftMouseUp = 2,
    NSEventTypeRightMouseDown = 3,
    NSEventTypeRightMouseUp = 4,
};

typedef NS_OPTIONS(unsigned long long, NSEventMask) {
    NSEventMaskLeftMouseDown = 1ULL << 1,
    NSEventMaskLeftMouseUp = 1ULL << 2,
    NSEventMaskRightMouseDown = 1ULL << 3,
    NSEventMaskRightMouseUp = 1ULL << 4,
    NSEventMaskKeyDown = 1ULL << 10,
    NSEventMaskOtherMouseDown = 1ULL << 25,
};

typedef NS_OPTIONS(NSUInteger, NSEventModifierFlags) {
    NSEventModifierFlagShift = 1 << 17,
    NSEventModifierFlagControl = 1 << 18,
};

@interface NSEvent : NSObject
@property (readonly) NSEventType type;
@property (readonly) NSEventModifierFlags modifierFlags;
@property (readonly) unsigned short keyCode;
+ (nullable id)addGlobalMonitorForEventsMatchingMask:(NSEventMask)mask
                                             handler:(void (^)(NSEvent* event))block;
+ (void)removeMonitor:(id)monitor;
@end

@interface NSResponder : NSObject
@end

typedef NS_ENUM(NSInteger, NSApplicationActivationPolicy) {
    NSApplicationActivationPolicyRegular = 0,
    NSApplicationActivationPolicyAccessory = 1,
    NSApplicationActivationPolicyProhibited = 2,
};

extern "C" NSNotificationName const NSApplicationWillTerminateNotification;

@interface NSApplication : NSResponder
@property (class, readonly, strong) __kindof NSApplication* sharedApplication;
@property (nullable, weak) id<NSApplicationDelegate> delegate;
@property (nullable, readonly, strong) NSEvent* currentEvent;
@property (nullable, readonly, weak) NSWindow* keyWindow;
@property (readonly, strong) NSAppearance* effectiveAppearance;
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy;
- (void)activateIgnoringOtherApps:(BOOL)ignores;
- (void)run;
- (void)terminate:(nullable id)sender;
@end

@protocol NSApplicationDelegate <NSObject>
@optional
- (BOOL)applicationShouldHandleReopen:(NSApplication*)sender hasVisibleWindows:(BOOL)hasVisibleWindows;
@end

extern "C" __kindof NSApplication* _Null_unspecified NSApp;

typedef NSString* NSAppearanceName;
extern "C" NSAppearanceName const NSAppearanceNameAqua;
extern "C" NSAppearanceName const NSAppearanceNameDarkAqua DECLARED_AVAILABLE(10.14);

@interface NSAppearance : NSObject
- (nullable NSAppearanceName)bestMatchFromAppearancesWithNames:(NSArray<NSAppearanceName>*)names;
@end

extern "C" NSNotificationName const NSSystemColorsDidChangeNotification;

@interface NSColorSpace : NSObject
@property (class, readonly, strong) NSColorSpace* sRGBColorSpace;
@end

@interface NSColor : NSObject
@property (class, readonly, strong) NSColor* controlAccentColor DECLARED_AVAILABLE(10.14);
- (nullable NSColor*)colorUsingColorSpace:(NSColorSpace*)space;
@property (readonly) CGFloat redComponent;
@property (readonly) CGFloat greenComponent;
@property (readonly) CGFloat blueComponent;
@end

@interface NSScreen : NSObject
@property (class, readonly, copy) NSArray<NSScreen*>* screens;
@property (readonly) NSRect frame;
@property (readonly) NSRect visibleFrame;
@end

typedef NS_OPTIONS(NSUInteger, NSWindowStyleMask) {
    NSWindowStyleMaskBorderless = 0,
    NSWindowStyleMaskTitled = 1 << 0,
    NSWindowStyleMaskClosable = 1 << 1,
    NSWindowStyleMaskMiniaturizable = 1 << 2,
    NSWindowStyleMaskResizable = 1 << 3,
    NSWindowStyleMaskFullSizeContentView = 1 << 15,
};

typedef NS_ENUM(NSInteger, NSWindowTitleVisibility) {
    NSWindowTitleVisible = 0,
    NSWindowTitleHidden = 1,
};

typedef NS_OPTIONS(NSUInteger, NSWindowCollectionBehavior) {
    NSWindowCollectionBehaviorMoveToActiveSpace = 1 << 1,
    NSWindowCollectionBehaviorTransient = 1 << 3,
    NSWindowCollectionBehaviorIgnoresCycle = 1 << 6,
    NSWindowCollectionBehaviorFullScreenAuxiliary = 1 << 8,
};

typedef NSInteger NSWindowLevel;
extern "C" const NSWindowLevel NSStatusWindowLevel;

@interface NSWindow : NSResponder
@property NSWindowStyleMask styleMask;
@property BOOL titlebarAppearsTransparent;
@property NSWindowTitleVisibility titleVisibility;
@property (getter=isMovableByWindowBackground) BOOL movableByWindowBackground;
@property (getter=isReleasedWhenClosed) BOOL releasedWhenClosed;
@property BOOL hidesOnDeactivate;
@property NSWindowLevel level;
@property NSWindowCollectionBehavior collectionBehavior;
@property (readonly) NSRect frame;
@property (nullable, strong) __kindof NSView* contentView;
@property (readonly) NSPoint mouseLocationOutsideOfEventStream;
- (void)makeKeyAndOrderFront:(nullable id)sender;
@end

@interface NSPanel : NSWindow
@end

@interface NSView : NSResponder
@property (nullable, readonly, assign) NSWindow* window;
@property NSRect bounds;
@property (nullable, copy) NSString* toolTip;
- (NSPoint)convertPoint:(NSPoint)point fromView:(nullable NSView*)view;
@end

@protocol NSPasteboardWriting <NSObject>
@end

@interface NSImage : NSObject <NSPasteboardWriting>
+ (nullable instancetype)imageWithSystemSymbolName:(NSString*)name
                          accessibilityDescription:(nullable NSString*)description DECLARED_AVAILABLE(11.0);
- (nullable instancetype)initWithData:(NSData*)data;
- (void)setTemplate:(BOOL)isTemplate;
@end

@interface NSPasteboard : NSObject
@property (class, readonly, strong) NSPasteboard* generalPasteboard;
- (NSInteger)clearContents;
- (BOOL)writeObjects:(NSArray<id<NSPasteboardWriting>>*)objects;
@end

typedef NS_OPTIONS(NSUInteger, NSCellImagePosition) {
    NSNoImage = 0,
    NSImageOnly = 1,
    NSImageLeading = 7,
};

@interface NSControl : NSView
@property (nullable, weak) id target;
@property (nullable) SEL action;
- (NSInteger)sendActionOn:(NSEventMask)mask;
@end

@interface NSButton : NSControl
@property (copy) NSString* title;
@property (nullable, strong) NSImage* image;
@property NSCellImagePosition imagePosition;
@end

@interface NSStatusBarButton : NSButton
@end

extern "C" const CGFloat NSVariableStatusItemLength;

@interface NSStatusItem : NSObject
@property (nullable, readonly, strong) NSStatusBarButton* button;
@property (getter=isVisible) BOOL visible;
@end

@interface NSStatusBar : NSObject
@property (class, readonly, strong) NSStatusBar* systemStatusBar;
- (NSStatusItem*)statusItemWithLength:(CGFloat)length;
@end

@interface NSMenuItem : NSObject
@property (nullable, weak) id target;
@property NSInteger tag;
@end

@interface NSMenu : NSObject
- (instancetype)initWithTitle:(NSString*)title;
- (NSMenuItem*)addItemWithTitle:(NSString*)title
                         action:(nullable SEL)selector
                  keyEquivalent:(NSString*)keyEquivalent;
- (BOOL)popUpMenuPositioningItem:(nullable NSMenuItem*)item
                      atLocation:(NSPoint)location
                          inView:(nullable NSView*)view;
@end

typedef NSInteger NSModalResponse;
enum : NSModalResponse { NSModalResponseCancel = 0, NSModalResponseOK = 1 };

@interface NSSavePanel : NSPanel
+ (NSSavePanel*)savePanel;
@property (nullable, readonly, copy) NSURL* URL;
@property (copy) NSArray<UTType*>* allowedContentTypes DECLARED_AVAILABLE(11.0);
@property (copy) NSString* nameFieldStringValue;
- (void)beginWithCompletionHandler:(void (^)(NSModalResponse result))handler;
@end

typedef NS_ENUM(NSUInteger, NSRectEdge) {
    NSRectEdgeMinX = 0,
    NSRectEdgeMinY = 1,
    NSRectEdgeMaxX = 2,
    NSRectEdgeMaxY = 3,
};

DECLARED_AVAILABLE(13.0)
@interface NSPreviewRepresentingActivityItem : NSObject
- (instancetype)initWithItem:(id)item
                       title:(nullable NSString*)title
                       image:(nullable NSImage*)image
                        icon:(nullable NSImage*)icon;
@end

@interface NSSharingServicePicker : NSObject
- (instancetype)initWithItems:(NSArray*)items;
- (void)showRelativeToRect:(NSRect)rect ofView:(NSView*)view preferredEdge:(NSRectEdge)preferredEdge;
@end

DECLARED_AVAILABLE(10.15)
@interface NSWorkspaceOpenConfiguration : NSObject <NSCopying>
+ (instancetype)configuration;
@property BOOL createsNewApplicationInstance;
@end

extern "C" NSNotificationName const NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification;

@interface NSRunningApplication : NSObject
@end

@interface NSWorkspace : NSObject
@property (class, readonly, strong) NSWorkspace* sharedWorkspace;
@property (readonly, strong) NSNotificationCenter* notificationCenter;
@property (readonly) BOOL accessibilityDisplayShouldReduceMotion;
- (BOOL)openURL:(NSURL*)url;
- (void)openApplicationAtURL:(NSURL*)applicationURL
               configuration:(NSWorkspaceOpenConfiguration*)configuration
           completionHandler:(void (^_Nullable)(NSRunningApplication* _Nullable application,
                                 NSError* _Nullable error))completionHandler DECLARED_AVAILABLE(10.15);
@end

#pragma clang assume_nonnull end
