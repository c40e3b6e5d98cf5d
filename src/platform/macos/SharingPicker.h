#pragma once

#include "platform/ShareSheet.h"

@class NSSharingServicePicker;

/// The system's share menu, beside the pointer in the window that has the keyboard.
class SharingPicker final : public ShareSheet {
public:
    void share(std::string_view png, const std::string& title) override;

private:
    /// Kept while its menu may be open.
    NSSharingServicePicker* picker = nullptr;
};
