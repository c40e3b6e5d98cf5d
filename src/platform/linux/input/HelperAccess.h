#pragma once

#include "platform/ListenAccess.h"

#include <sys/stat.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>

class Child;
class EventLoop;

/// An X server shows its input to every client, so that nothing needs granting there. A Wayland session shows
/// it to nobody; there the right is that of knucklet-tap to read the input devices, which knucklet-grant
/// gives to it once and for all.
class HelperAccess final : public ListenAccess {
public:
    /// The helper has so long to say whether it may count; it takes a few milliseconds where the machine is
    /// not busy.
    HelperAccess(EventLoop& loop, std::filesystem::path tapProgram, std::filesystem::path grantProgram,
        std::chrono::milliseconds patience = std::chrono::seconds(1));
    ~HelperAccess() override;

    bool preflight() override;
    void request() override;
    std::string commandToGrant() override;

private:
    /// What is known of the helper's file, on which its right depends.
    struct State {
        ino_t file = 0;
        mode_t mode = 0;
        gid_t group = 0;
        std::int64_t changed = 0;

        bool operator==(const State&) const = default;
    };

    bool canBeRequested() const;
    std::optional<State> helperState() const;
    std::optional<bool> askHelper() const;

    EventLoop& loop;
    std::filesystem::path tapProgram;
    std::filesystem::path grantProgram;
    std::chrono::milliseconds patience;
    std::unique_ptr<Child> grant;
    std::optional<State> askedFor;
    bool isSlow = false;
    bool isGranted = false;
};
