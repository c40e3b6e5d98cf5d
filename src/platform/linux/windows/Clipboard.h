#pragma once

#include "platform/Pasteboard.h"

/// The clipboard of the toolkit, which hands its content to the desktop's clipboard manager when the program
/// ends.
class Clipboard final : public Pasteboard {
public:
    void setPicture(std::string_view png) override;
};
