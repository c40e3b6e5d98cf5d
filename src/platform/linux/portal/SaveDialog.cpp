#include "platform/linux/portal/SaveDialog.h"

#include "platform/linux/portal/PortalRequest.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QFile>
#include <QFileDialog>
#include <QStandardPaths>

#include <utility>

namespace {

using Chosen = std::function<void(const std::filesystem::path&)>;

/// "(us)": a kind of files, here by their type and not by a pattern.
struct FileKind {
    uint kind = 1;
    QString type;
};

/// "(sa(us))": what a dialog shows of the files that are there.
struct FileFilter {
    QString name;
    QList<FileKind> kinds;
};

QDBusArgument& operator<<(QDBusArgument& argument, const FileKind& kind)
{
    argument.beginStructure();
    argument << kind.kind << kind.type;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, FileKind& kind)
{
    argument.beginStructure();
    argument >> kind.kind >> kind.type;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const FileFilter& filter)
{
    argument.beginStructure();
    argument << filter.name << filter.kinds;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, FileFilter& filter)
{
    argument.beginStructure();
    argument >> filter.name >> filter.kinds;
    argument.endStructure();
    return argument;
}

void registerTypes()
{
    qDBusRegisterMetaType<FileKind>();
    qDBusRegisterMetaType<QList<FileKind>>();
    qDBusRegisterMetaType<FileFilter>();
    qDBusRegisterMetaType<QList<FileFilter>>();
}

/// Empty for an address that is no local file.
std::filesystem::path localFile(const QString& address)
{
    const QString scheme = "file://";
    if (!address.startsWith(scheme))
        return {};
    // By bytes: the name of a file need not be text.
    return QByteArray::fromPercentEncoding(address.mid(scheme.size()).toUtf8()).toStdString();
}

void choose(const QVariantMap& results, const Chosen& chosen)
{
    const auto addresses = results.value("uris").toStringList();
    if (addresses.isEmpty())
        return;
    if (const auto file = localFile(addresses.first()); !file.empty())
        chosen(withPngSuffix(file));
}

void openToolkitDialog(const QString& title, const QString& kind, const QString& name, Chosen chosen)
{
    auto* dialog = new QFileDialog;
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    // A dialog of the platform's, where the toolkit has one, may insist on being modal.
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setWindowTitle(title);
    dialog->setNameFilter(kind + " (*.png)");
    dialog->setDefaultSuffix("png");
    dialog->setDirectory(QStandardPaths::writableLocation(QStandardPaths::PicturesLocation));
    dialog->selectFile(name);
    QObject::connect(
        dialog, &QFileDialog::fileSelected, dialog, [chosen = std::move(chosen)](const QString& file) {
            chosen(withPngSuffix(QFile::encodeName(file).toStdString()));
        });
    dialog->show();
}

}

SaveDialog::SaveDialog(const QDBusConnection& bus)
    : bus(bus)
{
    registerTypes();
}

void SaveDialog::begin(const std::string& proposedName, Chosen chosen)
{
    const auto title = tr("Save PNG");
    const auto kind = tr("PNG image");
    const auto name = QString::fromStdString(proposedName);
    const FileFilter filter { kind, { { .kind = 1, .type = "image/png" } } };
    PortalRequest::send(bus,
        {
            .interface = "FileChooser",
            .method = "SaveFile",
            // No parent: the panel belongs to no window.
            .arguments = { QString(), title },
            .options = {
                { "current_name", name },
                { "filters", QVariant::fromValue(QList<FileFilter> { filter }) },
                { "modal", false },
            },
            .done = [chosen](const QVariantMap& results) { choose(results, chosen); },
            .unavailable = [=] { openToolkitDialog(title, kind, name, chosen); },
        });
}

std::filesystem::path withPngSuffix(const std::filesystem::path& chosen)
{
    const auto suffix = QString::fromStdString(chosen.extension().string());
    if (suffix.compare(".png", Qt::CaseInsensitive) == 0)
        return chosen;
    auto withSuffix = chosen;
    withSuffix += ".png";
    std::error_code unknown;
    return std::filesystem::exists(withSuffix, unknown) ? chosen : withSuffix;
}
