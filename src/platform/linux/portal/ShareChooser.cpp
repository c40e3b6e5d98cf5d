#include "platform/linux/portal/ShareChooser.h"

#include "platform/linux/portal/PictureApplications.h"
#include "platform/linux/portal/PortalRequest.h"
#include "platform/linux/process/Child.h"
#include "platform/linux/process/SharedPictures.h"

#include <QApplication>
#include <QCursor>
#include <QDBusUnixFileDescriptor>
#include <QFile>
#include <QIcon>
#include <QMenu>
#include <QScreen>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <tuple>

namespace {

void start(const QStringList& command)
{
    Command encoded;
    for (const auto& argument : command)
        encoded.push_back(QFile::encodeName(argument).toStdString());
    // A program that does not start is nothing that anybody is told of.
    std::ignore = startDetached(encoded, ChildStreams::Nowhere);
}

/// Shows the menu at the control that asked for it, which has the focus whether it was clicked or pressed
/// with the keyboard: below it, or above where there is no room. What is to be shared stays in sight.
void open(QMenu& menu)
{
    const auto* control = QApplication::focusWidget();
    if (!control) {
        menu.popup(QCursor::pos());
        return;
    }
    const QRect place(control->mapToGlobal(QPoint()), control->size());
    const auto size = menu.sizeHint();
    const bool fitsBelow = place.bottom() + size.height() <= control->screen()->availableGeometry().bottom();
    const bool isMirrored = control->layoutDirection() == Qt::RightToLeft;
    menu.popup({ isMirrored ? place.right() + 1 - size.width() : place.left(),
        fitsBelow ? place.bottom() + 1 : place.top() - size.height() });
}

}

ShareChooser::ShareChooser(const QDBusConnection& bus, const SharedPictures& pictures)
    : bus(bus)
    , pictures(pictures)
{
}

ShareChooser::~ShareChooser() = default;

void ShareChooser::share(std::string_view png, const std::string& title)
{
    if (const auto file = write(png, title))
        askPortal(*file);
}

std::optional<ShareChooser::SharedFile> ShareChooser::write(
    std::string_view png, const std::string& title) const
{
    const auto folder = pictures.folder();
    if (!folder)
        return {};
    SharedFile shared { std::make_shared<QTemporaryDir>(QFile::decodeName(folder->c_str()) + "/XXXXXX"), {} };
    if (!shared.folder->isValid())
        return {};
    shared.path = shared.folder->filePath(QString::fromStdString(title) + ".png");
    QFile file(shared.path);
    const auto size = static_cast<qint64>(png.size());
    const bool isWritten = file.open(QFile::WriteOnly | QFile::NewOnly, QFile::ReadOwner | QFile::WriteOwner)
        && file.write(png.data(), size) == size && file.flush();
    return isWritten ? std::optional(shared) : std::nullopt;
}

void ShareChooser::askPortal(const SharedFile& shared)
{
    QFile file(shared.path);
    if (!file.open(QFile::ReadOnly))
        return;
    PortalRequest::send(bus,
        {
            .interface = "OpenURI",
            .method = "OpenFile",
            .arguments = { QString(), QVariant::fromValue(QDBusUnixFileDescriptor(file.handle())) },
            .options = { { "ask", true } },
            .done = [shared](const QVariantMap&) { keep(shared); },
            .unavailable = [shared] { openMenu(shared); },
        });
}

void ShareChooser::openMenu(const SharedFile& file)
{
    auto* menu = new QMenu;
    // The file goes with the last of its commands, unless one of them was chosen.
    QObject::connect(menu, &QMenu::aboutToHide, menu, &QObject::deleteLater);
    for (const auto& application : pictureApplications())
        addCommand(
            *menu, application.iconName, application.name, file, commandToOpen(file.path, application));
    menu->addSeparator();
    if (const auto mailer = QStandardPaths::findExecutable("xdg-email"); !mailer.isEmpty())
        addCommand(*menu, "mail-message-new", tr("E-mail…"), file, { mailer, "--attach", file.path });
    if (menu->isEmpty())
        menu->addAction(tr("No application opens pictures"))->setEnabled(false);
    open(*menu);
}

void ShareChooser::addCommand(QMenu& menu, const QString& iconName, const QString& title,
    const SharedFile& file, const QStringList& command)
{
    const auto* action = menu.addAction(QIcon::fromTheme(iconName), title);
    QObject::connect(action, &QAction::triggered, action, [file, command] {
        keep(file);
        start(command);
    });
}

// An application may read its file late, as a mail does when it is sent: what was handed on stays until the
// program ends.
void ShareChooser::keep(const SharedFile& file) { file.folder->setAutoRemove(false); }
