#include "platform/linux/portal/SaveDialog.h"
#include "platform/linux/portal/ShareChooser.h"
#include "platform/linux/process/SharedPictures.h"
#include "platform/linux/process/XdgFolders.h"
#include "support/GoldenPicture.h"
#include "support/PrivateBus.h"
#include "support/TestArea.h"
#include "windows/ui/Look.h"

#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QHeaderView>
#include <QMenu>
#include <QPainter>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QTreeView>

#include <memory>

namespace {

const QString connectionName = QStringLiteral("program");

void writeFile(const QString& name, const QByteArray& text)
{
    QVERIFY(QDir().mkpath(QFileInfo(name).path()));
    QFile file(name);
    QVERIFY(file.open(QFile::WriteOnly));
    QCOMPARE(file.write(text), text.size());
}

template <typename Window>
Window* openWindow()
{
    for (auto* widget : QApplication::topLevelWidgets()) {
        auto* window = qobject_cast<Window*>(widget);
        if (window && window->isVisible())
            return window;
    }
    return nullptr;
}

QImage picture(QWidget& window) { return window.grab().toImage().convertToFormat(QImage::Format_RGB32); }

QString goldenName(const QString& name, bool isDark, const QImage& picture)
{
    return QString("%1-%2@%3x").arg(name, isDark ? "dark" : "light").arg(picture.devicePixelRatio());
}

}

/// The dialog and the menu that the toolkit draws in the program's colors where there is no portal.
class PictureServicesGoldenTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase() { folder.reset(); }

    void theSaveDialogLooksAsItDid_data() { looks(); }
    void theSaveDialogLooksAsItDid();
    void theShareMenuLooksAsItDid_data() { looks(); }
    void theShareMenuLooksAsItDid();

private:
    static void looks();
    QDBusConnection connection() const
    {
        return QDBusConnection::connectToBus(bus->address(), connectionName);
    }

    std::unique_ptr<QTemporaryDir> folder;
    std::unique_ptr<PrivateBus> bus;
};

void PictureServicesGoldenTest::looks()
{
    QTest::addColumn<bool>("isDark");

    QTest::newRow("light") << false;
    QTest::newRow("dark") << true;
}

// One folder for all pictures: the toolkit remembers where the home folder was.
void PictureServicesGoldenTest::initTestCase()
{
    loadFonts();
    folder = std::make_unique<QTemporaryDir>();
    const auto in = [this](const char* name) { return folder->filePath(name).toUtf8(); };
    qputenv("HOME", in("ada"));
    qputenv("XDG_RUNTIME_DIR", folder->path().toUtf8());
    qputenv("XDG_DATA_HOME", in("data"));
    qputenv("XDG_DATA_DIRS", in("machine"));
    qputenv("XDG_CONFIG_HOME", in("config"));
    qputenv("XDG_CONFIG_DIRS", in("machine"));
    qputenv("PATH", in("bin") + ":/usr/bin:/bin");
    QVERIFY(QDir().mkpath(folder->filePath("ada/Pictures/Holidays")));
}

void PictureServicesGoldenTest::init() { bus = std::make_unique<PrivateBus>(); }

void PictureServicesGoldenTest::cleanup()
{
    if (auto* dialog = openWindow<QFileDialog>())
        dialog->close();
    if (auto* menu = openWindow<QMenu>())
        menu->close();
    QDBusConnection::disconnectFromBus(connectionName);
    bus.reset();
    applyLook(ColorScheme::Light, Motion::Full);
}

void PictureServicesGoldenTest::theSaveDialogLooksAsItDid()
{
    QFETCH(const bool, isDark);
    applyLook(isDark ? ColorScheme::Dark : ColorScheme::Light, Motion::Full);
    SaveDialog panel(connection());
    panel.begin("Knucklet-2026-11-15.png", [](const auto&) {});
    QTRY_VERIFY(openWindow<QFileDialog>());
    auto& dialog = *openWindow<QFileDialog>();
    const auto* files = dialog.findChild<QTreeView*>();
    QVERIFY(files);
    QTRY_COMPARE(files->model()->rowCount(files->rootIndex()), 1);
    dialog.resize(600, 320);
    dialog.activateWindow();
    auto* path = dialog.findChild<QComboBox*>("lookInCombo");
    QVERIFY(path);

    auto image = picture(dialog);

    // The folder has another name in each run, and its date is that of the run. Whether there is a way back
    // depends on what was open before.
    QPainter painter(&image);
    const auto hide = [&](const QRect& rect) { painter.fillRect(rect, Qt::gray); };
    hide({ path->mapTo(&dialog, QPoint()), path->size() });
    const auto* back = dialog.findChild<QToolButton*>("backButton");
    hide({ back->mapTo(&dialog, QPoint()), back->size() });
    const auto* header = files->header();
    hide({ files->viewport()->mapTo(&dialog, QPoint(header->sectionViewportPosition(3), 0)),
        files->viewport()->size() });
    painter.end();
    QVERIFY(looksLikeGolden(image, goldenName("save-dialog", isDark, image)));
}

void PictureServicesGoldenTest::theShareMenuLooksAsItDid()
{
    QFETCH(const bool, isDark);
    applyLook(isDark ? ColorScheme::Dark : ColorScheme::Light, Motion::Full);
    for (const char* name : { "Painter", "Viewer" }) {
        writeFile(folder->filePath(QString("data/applications/%1.desktop").arg(name)),
            QByteArray("[Desktop Entry]\nType=Application\nExec=view %f\nName=") + name + '\n');
    }
    writeFile(folder->filePath("data/applications/mimeinfo.cache"),
        "[MIME Cache]\nimage/png=Painter.desktop;Viewer.desktop;\n");
    writeFile(folder->filePath("bin/xdg-email"), "#!/bin/sh\n");
    QFile::setPermissions(folder->filePath("bin/xdg-email"), QFile::ReadOwner | QFile::ExeOwner);
    const XdgFolders folders;
    const SharedPictures pictures { folders };
    ShareChooser sheet(connection(), pictures);
    sheet.share("picture", "Knucklet day card");
    QTRY_VERIFY(openWindow<QMenu>());
    auto& menu = *openWindow<QMenu>();
    QTest::keyClick(&menu, Qt::Key_Down);

    const auto image = picture(menu);

    QVERIFY(looksLikeGolden(image, goldenName("share-menu", isDark, image)));
}

static const TestArea area("PictureServicesGolden", runTest<PictureServicesGoldenTest, QApplication>);
#include "PictureServicesGoldenTest.moc"
