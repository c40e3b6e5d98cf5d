#pragma once

// Core Foundation, as far as the program uses it. Plain C, for any compiler.

#ifndef __clang__
#    define _Nonnull
#    define _Nullable
#    define DECLARED_AVAILABLE(version)
#else
#    define DECLARED_AVAILABLE(version) __attribute__((availability(macos, introduced = version)))
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef signed long CFIndex;
typedef unsigned long CFOptionFlags;
typedef double CFTimeInterval;
typedef CFTimeInterval CFAbsoluteTime;
typedef unsigned char Boolean;

typedef const void* CFTypeRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFString* CFStringRef;
typedef struct __CFMachPort* CFMachPortRef;
typedef struct __CFRunLoop* CFRunLoopRef;
typedef struct __CFRunLoopSource* CFRunLoopSourceRef;
typedef struct __CFRunLoopTimer* CFRunLoopTimerRef;
typedef CFStringRef CFRunLoopMode;

extern const CFAllocatorRef _Nonnull kCFAllocatorDefault;
extern const CFRunLoopMode _Nonnull kCFRunLoopDefaultMode;
extern const CFRunLoopMode _Nonnull kCFRunLoopCommonModes;

CFTypeRef _Nonnull CFRetain(CFTypeRef _Nonnull object);
void CFRelease(CFTypeRef _Nonnull object);
CFAbsoluteTime CFAbsoluteTimeGetCurrent(void);

CFRunLoopSourceRef _Nullable CFMachPortCreateRunLoopSource(
    CFAllocatorRef _Nullable allocator, CFMachPortRef _Nonnull port, CFIndex order);
void CFMachPortInvalidate(CFMachPortRef _Nonnull port);

CFRunLoopRef _Nonnull CFRunLoopGetMain(void);
CFRunLoopRef _Nonnull CFRunLoopGetCurrent(void);
void CFRunLoopAddSource(
    CFRunLoopRef _Nonnull loop, CFRunLoopSourceRef _Nonnull source, CFRunLoopMode _Nonnull mode);
void CFRunLoopRemoveSource(
    CFRunLoopRef _Nonnull loop, CFRunLoopSourceRef _Nonnull source, CFRunLoopMode _Nonnull mode);
void CFRunLoopAddTimer(
    CFRunLoopRef _Nonnull loop, CFRunLoopTimerRef _Nonnull timer, CFRunLoopMode _Nonnull mode);

typedef struct {
    CFIndex version;
    void* _Nullable info;
    const void* _Nullable (*_Nullable retain)(const void* _Nullable info);
    void (*_Nullable release)(const void* _Nullable info);
    CFStringRef _Nullable (*_Nullable copyDescription)(const void* _Nullable info);
} CFRunLoopTimerContext;

typedef void (*CFRunLoopTimerCallBack)(CFRunLoopTimerRef _Nonnull timer, void* _Nullable info);

CFRunLoopTimerRef _Nonnull CFRunLoopTimerCreate(CFAllocatorRef _Nullable allocator, CFAbsoluteTime fireDate,
    CFTimeInterval interval, CFOptionFlags flags, CFIndex order, CFRunLoopTimerCallBack _Nonnull callout,
    CFRunLoopTimerContext* _Nullable context);
void CFRunLoopTimerInvalidate(CFRunLoopTimerRef _Nonnull timer);

#ifdef __cplusplus
}
#endif
