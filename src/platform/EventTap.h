#pragma once

#include <cstdint>
#include <optional>

/// What an event tap reports. The values are those of the operating system that the program was first written
/// for; every platform maps its own events to them.
enum class EventType : std::uint32_t {
    LeftMouseDown = 1,
    RightMouseDown = 3,
    KeyDown = 10,
    OtherMouseDown = 25,
    TapDisabledByTimeout = 0xFFFFFFFE,
    TapDisabledByUserInput = 0xFFFFFFFF,
};

constexpr std::uint64_t eventMask(EventType type)
{
    return std::uint64_t { 1 } << static_cast<std::uint32_t>(type);
}

inline constexpr std::uint64_t mouseDownMask = eventMask(EventType::LeftMouseDown)
    | eventMask(EventType::RightMouseDown) | eventMask(EventType::OtherMouseDown);

enum class EventField : std::uint32_t {
    /// 0 for a real press, anything else for a repeat that holding the key generates.
    KeyboardAutorepeat = 8,
};

/// One event, as far as the program may look at it: nothing here tells which key was pressed. Valid only
/// during the callback.
class TapEvent {
public:
    virtual ~TapEvent() = default;

    virtual std::int64_t integer(EventField field) const = 0;
};

enum class TapLocation : std::uint32_t { Session = 1 };
enum class TapPlacement : std::uint32_t { HeadInsert = 0 };
enum class TapOptions : std::uint32_t { ListenOnly = 1 };

struct EventTapParameters {
    TapLocation location = TapLocation::Session;
    TapPlacement placement = TapPlacement::HeadInsert;
    TapOptions options = TapOptions::ListenOnly;
    std::uint64_t eventsOfInterest = 0;

    bool operator==(const EventTapParameters&) const = default;
};

/// Called on the main thread for each event of interest, and when the system has disabled the tap. Returns
/// the event that came in.
using TapCallback = const TapEvent* (*)(EventType type, const TapEvent* event, void* userInfo);

enum class EventTapId : std::uint64_t {};
enum class RunLoopSourceId : std::uint64_t {};

/// Observes key presses and mouse presses of the whole session. Ids are plain handles: dropping one stops
/// nothing.
class EventTap {
public:
    virtual ~EventTap() = default;

    /// Nothing when the system refuses. `userInfo` is handed back to the callback as it is and must outlive
    /// the tap.
    virtual std::optional<EventTapId> create(
        const EventTapParameters& parameters, TapCallback callback, void* userInfo)
        = 0;
    virtual RunLoopSourceId makeRunLoopSource(EventTapId tap) = 0;
    /// From here on events are delivered by the main thread's loop, also while a menu or the panel is
    /// tracking.
    virtual void addToMainRunLoop(RunLoopSourceId source) = 0;
    virtual void enable(EventTapId tap) = 0;
};
