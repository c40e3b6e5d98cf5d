#pragma once

#include "platform/ShareSheet.h"

#include <QCoreApplication>
#include <QDBusConnection>

#include <memory>

class QMenu;
class QTemporaryDir;
class SharedPictures;

/// The chooser of applications that the desktop's portal shows; where there is no portal, a menu of the
/// applications that open pictures, and of e-mail.
class ShareChooser final : public ShareSheet {
public:
    /// The pictures must outlive it.
    ShareChooser(const QDBusConnection& bus, const SharedPictures& pictures);
    ShareChooser(const ShareChooser&) = delete;
    ShareChooser& operator=(const ShareChooser&) = delete;
    ~ShareChooser() override;

    void share(std::string_view png, const std::string& title) override;

private:
    /// A picture that lies in a folder of its own, and goes with it unless it is kept.
    struct SharedFile {
        std::shared_ptr<QTemporaryDir> folder;
        QString path;
    };

    std::optional<SharedFile> write(std::string_view png, const std::string& title) const;
    void askPortal(const SharedFile& file);
    static void openMenu(const SharedFile& file);
    static void addCommand(QMenu& menu, const QString& iconName, const QString& title, const SharedFile& file,
        const QStringList& command);
    static void keep(const SharedFile& file);

    QDBusConnection bus;
    const SharedPictures& pictures;

    Q_DECLARE_TR_FUNCTIONS(ShareChooser)
};
