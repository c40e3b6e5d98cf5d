#pragma once

#include "platform/WindowPlatform.h"
#include "platform/linux/portal/PortalAppearance.h"
#include "platform/linux/portal/SaveDialog.h"
#include "platform/linux/portal/ShareChooser.h"
#include "platform/linux/windows/Clipboard.h"
#include "platform/linux/windows/ServedLoop.h"
#include "platform/linux/windows/Toolkit.h"
#include "platform/linux/windows/ToolkitEnd.h"
#include "platform/linux/windows/X11Activation.h"
#include "platform/linux/windows/X11LateWindows.h"
#include "platform/linux/windows/X11PanelHost.h"
#include "platform/linux/windows/X11WindowEdges.h"

#include <memory>
#include <optional>

class ResidentPlatform;

/// What the program needs for its windows, with the toolkit.
class ToolkitPlatform final : public WindowPlatform {
public:
    /// With a toolkit that has a display. The resident platform must outlive this one.
    ToolkitPlatform(ResidentPlatform& resident, std::unique_ptr<Toolkit> toolkit);
    ~ToolkitPlatform() override;

    Appearance& appearance() override { return portalSettings; }
    PanelHost& panelHost() override { return panel; }
    Pasteboard& pasteboard() override { return clipboard; }
    SavePanel& savePanel() override { return saveDialog; }
    ShareSheet& shareSheet() override { return shareChooser; }
    WindowActivation& windowActivation() override { return activation; }
    WindowEdges& windowEdges() override { return edges; }

private:
    std::unique_ptr<Toolkit> toolkit;
    ToolkitEnd end;
    PortalAppearance portalSettings;
    X11PanelHost panel;
    Clipboard clipboard;
    SaveDialog saveDialog;
    ShareChooser shareChooser;
    X11Activation activation;
    X11WindowEdges edges;
    X11LateWindows lateWindows;
    std::optional<ServedLoop> served;
};
