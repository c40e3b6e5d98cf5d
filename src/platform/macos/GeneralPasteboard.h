#pragma once

#include "platform/Pasteboard.h"

class GeneralPasteboard final : public Pasteboard {
public:
    void setPicture(std::string_view png) override;
};
