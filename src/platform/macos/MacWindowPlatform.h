#pragma once

#include "platform/WindowPlatform.h"
#include "platform/macos/FrontWindow.h"
#include "platform/macos/GeneralPasteboard.h"
#include "platform/macos/GuestToolkit.h"
#include "platform/macos/PngSavePanel.h"
#include "platform/macos/SharingPicker.h"
#include "platform/macos/StatusPanelHost.h"
#include "platform/macos/SystemAppearance.h"
#include "platform/macos/SystemEdges.h"

/// What the program needs for its windows, with the toolkit.
class MacWindowPlatform final : public WindowPlatform {
public:
    Appearance& appearance() override { return systemAppearance; }
    PanelHost& panelHost() override { return panel; }
    Pasteboard& pasteboard() override { return generalPasteboard; }
    SavePanel& savePanel() override { return pngSavePanel; }
    ShareSheet& shareSheet() override { return sharingPicker; }
    WindowActivation& windowActivation() override { return frontWindow; }
    WindowEdges& windowEdges() override { return systemEdges; }

private:
    GuestToolkit toolkit;
    SystemAppearance systemAppearance;
    StatusPanelHost panel;
    GeneralPasteboard generalPasteboard;
    PngSavePanel pngSavePanel;
    SharingPicker sharingPicker;
    FrontWindow frontWindow;
    SystemEdges systemEdges;
};
