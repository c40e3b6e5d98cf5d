#pragma once

#include <memory>

class Appearance;
class PanelHost;
class Pasteboard;
class Platform;
class SavePanel;
class ShareSheet;
class WindowActivation;
class WindowEdges;

/// What the program's windows need of the system on top of `Platform`, in the same way.
class WindowPlatform {
public:
    virtual ~WindowPlatform() = default;

    virtual Appearance& appearance() = 0;
    virtual PanelHost& panelHost() = 0;
    virtual Pasteboard& pasteboard() = 0;
    virtual SavePanel& savePanel() = 0;
    virtual ShareSheet& shareSheet() = 0;
    virtual WindowActivation& windowActivation() = 0;
    virtual WindowEdges& windowEdges() = 0;
};

/// That of the system that the program was built for. The platform must be the one that `makePlatform` has
/// made, and outlive this one. Nothing where no window can be shown, such as on a display that does not
/// answer.
std::unique_ptr<WindowPlatform> makeWindowPlatform(Platform& platform);
