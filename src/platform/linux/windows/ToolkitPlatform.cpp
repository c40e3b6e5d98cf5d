#include "platform/linux/windows/ToolkitPlatform.h"

#include "platform/linux/ResidentPlatform.h"
#include "platform/linux/portal/OpenFile.h"
#include "platform/linux/windows/X11Windows.h"

#include <QApplication>
#include <QDBusConnection>
#include <QFile>

#include <utility>

namespace {

using namespace std::chrono_literals;

/// A portal that runs answers within two milliseconds. One that has to be started first is not waited for.
constexpr auto portalPatience = 30ms;

/// A window of Wayland comes to the front with such a token only, which the toolkit uses up for the next one
/// that it activates. One of X needs none; the desktop only has to hear that it need not wait.
void useActivationToken(const std::string& token)
{
    if (QGuiApplication::platformName() == "wayland")
        qputenv("XDG_ACTIVATION_TOKEN", QByteArray::fromStdString(token));
    else
        endStartup(QByteArray::fromStdString(token));
}

}

ToolkitPlatform::ToolkitPlatform(ResidentPlatform& resident, std::unique_ptr<Toolkit> toolkit)
    : toolkit(std::move(toolkit))
    , end(resident.process(), resident.waylandDisplay())
    , portalSettings(QDBusConnection::sessionBus())
    , panel(resident.x11Input())
    , saveDialog(QDBusConnection::sessionBus())
    , shareChooser(QDBusConnection::sessionBus(), resident.sharedPictures())
{
    // exit() and not quit(), which any open window can refuse.
    resident.eventLoop().handOver({ .run = [this] { return end.run(); }, .quit = QCoreApplication::exit });
    resident.setToolkitDuties({
        .openFile = [](const auto& file) { openFile(QFile::decodeName(file.c_str())); },
        .useActivationToken = useActivationToken,
    });
    // Not with this object, which is there no more at the end of the program, or never goes: the toolkit ends
    // the process with the display.
    resident.process().onWillTerminate([&resident] { resident.sharedPictures().clear(); });
    portalSettings.awaitAnswer(portalPatience);
    // Not before: whatever happens meanwhile may ask for the windows that are just being made.
    served.emplace(resident.eventLoop());
}

ToolkitPlatform::~ToolkitPlatform() = default;

std::unique_ptr<WindowPlatform> makeWindowPlatform(Platform& platform)
{
    auto& resident = static_cast<ResidentPlatform&>(platform);
    auto toolkit = std::make_unique<Toolkit>(
        resident.process(), [&resident](bool areShown) { resident.setWindowsShown(areShown); });
    if (!toolkit->hasDisplay())
        return {};
    return std::make_unique<ToolkitPlatform>(resident, std::move(toolkit));
}
