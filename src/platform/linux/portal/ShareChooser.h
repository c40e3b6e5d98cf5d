#pragma once

#include "platform/ShareSheet.h"

#include <QCoreApplication>
#include <QDBusConnection>

#include <memory>
#include <vector>

class QMenu;
class QTemporaryDir;

/// The chooser of applications that the desktop's portal shows; where there is no portal, a menu of the
/// applications that open pictures, and of e-mail.
class ShareChooser final : public ShareSheet {
public:
    explicit ShareChooser(const QDBusConnection& bus);
    ShareChooser(const ShareChooser&) = delete;
    ShareChooser& operator=(const ShareChooser&) = delete;
    ~ShareChooser() override;

    void share(std::string_view png, const std::string& title) override;

private:
    /// A picture that lies in a folder of its own, and goes with it.
    struct SharedFile {
        std::shared_ptr<QTemporaryDir> folder;
        QString path;
    };

    static std::optional<SharedFile> write(std::string_view png, const std::string& title);
    void askPortal(const SharedFile& file);
    void openMenu(const SharedFile& file);
    void addCommand(QMenu& menu, const QString& iconName, const QString& title, const SharedFile& file,
        const QStringList& command);
    void keep(const SharedFile& file);

    QDBusConnection bus;
    /// An application may read its file late, as a mail does when it is sent: what was handed on stays until
    /// the program ends.
    std::vector<std::shared_ptr<QTemporaryDir>> handedOn;

    Q_DECLARE_TR_FUNCTIONS(ShareChooser)
};
