#pragma once

#include "tap/CountableKeys.h"
#include "tap/TapProtocol.h"

#include <array>
#include <cstdint>
#include <span>

/// The input devices of the machine. Each is opened once for its keys and once for its buttons, and the
/// kernel is told to hold everything else back; so it is the descriptor that tells a key from a click, and
/// the code of an event is never looked at.
class Devices {
public:
    /// How many devices the process may read, and how many it may not.
    struct Access {
        int allowed = 0;
        int denied = 0;
    };
    /// What has arrived on a descriptor since it was last read.
    struct Arrived {
        TapRecord presses {};
        bool isRepeated = false;
        bool isGone = false;

        Arrived& operator+=(const Arrived& other);
    };

    /// The descriptors are added to `epoll`, with their places here as data.
    explicit Devices(int epoll);

    /// To find out, no device is opened.
    static Access access();

    /// Opens what is not open yet.
    void openAll();
    void closeAll();

    /// Closes the descriptor when its device is gone. Another one may have its number by then, which
    /// `openAll` has taken for the one that was still open.
    Arrived read(std::uint32_t place);

    static constexpr std::uint32_t mostSources = 128;

private:
    enum class PressKind { Key, Click };
    struct Source {
        int device = -1;
        PressKind kind = PressKind::Key;
        int descriptor = -1;
    };

    static const CodeMask& codesOf(PressKind kind);
    void open(int folder, const char* name, PressKind kind);
    Source* freePlace();
    bool isOpen(int device, PressKind kind) const;
    void close(Source& source);

    int epoll;
    std::array<Source, mostSources> places {};
    std::span<Source> sources;
};
