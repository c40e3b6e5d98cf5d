#pragma once

/// How the system stands to starting the program at login; only `Enabled` means that it will.
enum class LoginItemStatus {
    NotRegistered = 0,
    Enabled = 1,
    RequiresApproval = 2,
    NotFound = 3,
};

class LoginItem {
public:
    virtual ~LoginItem() = default;

    /// Asked of the system each time, never remembered.
    virtual LoginItemStatus status() = 0;
    /// Both succeed when things already stand as asked for, and are false when the system refuses.
    [[nodiscard]] virtual bool registerItem() = 0;
    [[nodiscard]] virtual bool unregisterItem() = 0;
};
