#pragma once

// The events of Core Graphics, as far as the program uses them. Plain C, for any compiler.

#include <CoreFoundation/CoreFoundation.h>

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef double CGFloat;
typedef struct CGPoint {
    CGFloat x;
    CGFloat y;
} CGPoint;
typedef struct CGSize {
    CGFloat width;
    CGFloat height;
} CGSize;
typedef struct CGRect {
    CGPoint origin;
    CGSize size;
} CGRect;

typedef struct __CGEvent* CGEventRef;
typedef struct __CGEventTapProxy* CGEventTapProxy;
typedef uint64_t CGEventMask;

typedef enum CGEventType : uint32_t {
    kCGEventNull = 0,
    kCGEventLeftMouseDown = 1,
    kCGEventLeftMouseUp = 2,
    kCGEventRightMouseDown = 3,
    kCGEventRightMouseUp = 4,
    kCGEventMouseMoved = 5,
    kCGEventLeftMouseDragged = 6,
    kCGEventRightMouseDragged = 7,
    kCGEventKeyDown = 10,
    kCGEventKeyUp = 11,
    kCGEventFlagsChanged = 12,
    kCGEventScrollWheel = 22,
    kCGEventTabletPointer = 23,
    kCGEventTabletProximity = 24,
    kCGEventOtherMouseDown = 25,
    kCGEventOtherMouseUp = 26,
    kCGEventOtherMouseDragged = 27,
    kCGEventTapDisabledByTimeout = 0xFFFFFFFE,
    kCGEventTapDisabledByUserInput = 0xFFFFFFFF,
} CGEventType;

typedef enum CGEventField : uint32_t {
    kCGMouseEventClickState = 1,
    kCGKeyboardEventAutorepeat = 8,
    kCGKeyboardEventKeycode = 9,
    kCGKeyboardEventKeyboardType = 10,
} CGEventField;

typedef enum CGEventTapLocation : uint32_t {
    kCGHIDEventTap = 0,
    kCGSessionEventTap = 1,
    kCGAnnotatedSessionEventTap = 2,
} CGEventTapLocation;

typedef enum CGEventTapPlacement : uint32_t {
    kCGHeadInsertEventTap = 0,
    kCGTailAppendEventTap = 1,
} CGEventTapPlacement;

typedef enum CGEventTapOptions : uint32_t {
    kCGEventTapOptionDefault = 0,
    kCGEventTapOptionListenOnly = 1,
} CGEventTapOptions;

#define CGEventMaskBit(eventType) ((CGEventMask)1 << (eventType))

typedef CGEventRef _Nullable (*CGEventTapCallBack)(
    CGEventTapProxy _Nonnull proxy, CGEventType type, CGEventRef _Nonnull event, void* _Nullable userInfo);

CFMachPortRef _Nullable CGEventTapCreate(CGEventTapLocation tap, CGEventTapPlacement place,
    CGEventTapOptions options, CGEventMask eventsOfInterest, CGEventTapCallBack _Nonnull callback,
    void* _Nullable userInfo);
void CGEventTapEnable(CFMachPortRef _Nonnull tap, bool enable);
bool CGEventTapIsEnabled(CFMachPortRef _Nonnull tap);
int64_t CGEventGetIntegerValueField(CGEventRef _Nullable event, CGEventField field);

bool CGPreflightListenEventAccess(void) DECLARED_AVAILABLE(10.15);
bool CGRequestListenEventAccess(void) DECLARED_AVAILABLE(10.15);

#ifdef __cplusplus
}
#endif
