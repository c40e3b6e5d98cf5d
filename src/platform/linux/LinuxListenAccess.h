#pragma once

#include "platform/ListenAccess.h"

/// An X server shows its input to every client, so that nothing needs granting there. A Wayland session shows
/// it to nobody, and has nobody to ask.
class LinuxListenAccess final : public ListenAccess {
public:
    bool preflight() override;
    void request() override { }
};
