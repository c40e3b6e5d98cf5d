#include "platform/linux/portal/PictureApplications.h"
#include "platform/linux/portal/SaveDialog.h"
#include "platform/linux/portal/ShareChooser.h"
#include "platform/linux/process/SharedPictures.h"
#include "platform/linux/process/XdgFolders.h"
#include "support/FakePortal.h"
#include "support/Patience.h"
#include "support/PrivateBus.h"
#include "support/TestArea.h"

#include <QApplication>
#include <QCursor>
#include <QDBusArgument>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

#include <memory>
#include <optional>

namespace {

const QString connectionName = QStringLiteral("program");

void writeFile(const QString& name, const QByteArray& text)
{
    QVERIFY(QDir().mkpath(QFileInfo(name).path()));
    QFile file(name);
    QVERIFY(file.open(QFile::WriteOnly));
    QCOMPARE(file.write(text), text.size());
}

QByteArray readFile(const QString& name)
{
    QFile file(name);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
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

/// The names and types of the filters that a request carries, as in "PNG image 1 image/png".
QStringList filters(const QVariant& value)
{
    QStringList found;
    const auto argument = value.value<QDBusArgument>();
    argument.beginArray();
    while (!argument.atEnd()) {
        QString name;
        argument.beginStructure();
        argument >> name;
        argument.beginArray();
        while (!argument.atEnd()) {
            uint kind = 0;
            QString pattern;
            argument.beginStructure();
            argument >> kind >> pattern;
            argument.endStructure();
            found << QString("%1 %2 %3").arg(name).arg(kind).arg(pattern);
        }
        argument.endArray();
        argument.endStructure();
    }
    argument.endArray();
    return found;
}

}

/// The save panel and the share sheet, with and without a portal.
class PictureServicesTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void thePortalIsAskedForAPlace();
    void thePlaceThatTheUserChoosesInThePortalIsHandedOn_data();
    void thePlaceThatTheUserChoosesInThePortalIsHandedOn();
    void aCancelledPortalDialogIsSilent();
    void anAnswerWithoutALocalFileIsSilent();
    void withoutAPortalTheToolkitAsks();
    void thePlaceThatTheUserChoosesInTheToolkitsDialogIsHandedOn_data();
    void thePlaceThatTheUserChoosesInTheToolkitsDialogIsHandedOn();
    void aCancelledToolkitDialogIsSilent();
    void aPlaceGetsTheSuffixOfAPngFile_data();
    void aPlaceGetsTheSuffixOfAPngFile();
    void aSuffixDoesNotReplaceAFileThatTheUserDidNotChoose();

    void thePortalIsHandedThePicture();
    void aSharedPictureIsTheUsersAloneAndGoesWithTheProgram();
    void aSharedPictureLiesWhereTheUserAloneCanFindIt_data();
    void aSharedPictureLiesWhereTheUserAloneCanFindIt();
    void aPictureThatTheUserDidNotShareGoesAtOnce();
    void withoutAPortalAMenuOffersWhatOpensPictures();
    void theMenuOpensAtTheButtonThatAskedForIt_data();
    void theMenuOpensAtTheButtonThatAskedForIt();
    void whatIsChosenInTheMenuIsStartedWithThePicture();
    void aMenuThatIsClosedLeavesNothing();
    void withoutAnyProgramTheMenuSaysSoAndNothingIsLeft();
    void withoutAPlaceForThePictureNothingHappens();

    void applicationsAreListedAsTheUserHasThem();
    void aCommandLineIsFilledIn_data();
    void aCommandLineIsFilledIn();

private:
    QDBusConnection connection() const
    {
        return QDBusConnection::connectToBus(bus->address(), connectionName);
    }
    /// The folders of pictures that are shared.
    QStringList sharedFiles(const QString& place = "runtime/knucklet") const
    {
        return QDir(folder->filePath(place)).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    }
    void install(const QString& id, const QByteArray& entry) const
    {
        writeFile(folder->filePath("data/applications/" + id), "[Desktop Entry]\nType=Application\n" + entry);
    }

    XdgFolders folders;
    SharedPictures pictures { folders };
    std::unique_ptr<QTemporaryDir> folder;
    std::unique_ptr<PrivateBus> bus;
    std::unique_ptr<FakePortal> portal;
    std::optional<std::filesystem::path> chosen;
};

void PictureServicesTest::init()
{
    folder = std::make_unique<QTemporaryDir>();
    for (const auto* name : { "runtime", "data", "config", "bin" })
        QVERIFY(QDir(folder->path()).mkdir(name));
    qputenv("XDG_RUNTIME_DIR", folder->filePath("runtime").toUtf8());
    qputenv("XDG_DATA_HOME", folder->filePath("data").toUtf8());
    qputenv("XDG_DATA_DIRS", folder->filePath("machine").toUtf8());
    qputenv("XDG_CONFIG_HOME", folder->filePath("config").toUtf8());
    qputenv("XDG_CONFIG_DIRS", folder->filePath("machine").toUtf8());
    qputenv("PATH", (folder->filePath("bin") + ":/usr/bin:/bin").toUtf8());
    bus = std::make_unique<PrivateBus>();
    portal = std::make_unique<FakePortal>(bus->address());
    chosen.reset();
}

void PictureServicesTest::cleanup()
{
    if (auto* dialog = openWindow<QFileDialog>())
        dialog->close();
    QDBusConnection::disconnectFromBus(connectionName);
    portal.reset();
    bus.reset();
    folder.reset();
}

void PictureServicesTest::thePortalIsAskedForAPlace()
{
    SaveDialog panel(connection());

    panel.begin("Knucklet-2026-11-15.png", [this](const auto& file) { chosen = file; });

    QTRY_COMPARE(portal->requests.size(), 1);
    const auto& request = portal->requests.first();
    QCOMPARE(request.method, "FileChooser.SaveFile");
    QCOMPARE(request.arguments[0].toString(), "");
    QCOMPARE(request.options["current_name"].toString(), "Knucklet-2026-11-15.png");
    QCOMPARE(request.options["modal"].toBool(), false);
    QCOMPARE(filters(request.options["filters"]), QStringList { "PNG image 1 image/png" });
    QVERIFY(!openWindow<QFileDialog>());
}

void PictureServicesTest::thePlaceThatTheUserChoosesInThePortalIsHandedOn_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<std::string>("place");

    QTest::newRow("plain") << "file:///home/ada/card.png" << std::string("/home/ada/card.png");
    QTest::newRow("blanks and letters")
        << "file:///home/ada/My%20b%C3%BCld.png" << std::string("/home/ada/My büld.png");
    QTest::newRow("bytes that are no text")
        << "file:///home/ada/%FF%25.png" << std::string("/home/ada/\xff%.png");
    QTest::newRow("without a suffix") << "file:///home/ada/card" << std::string("/home/ada/card.png");
}

void PictureServicesTest::thePlaceThatTheUserChoosesInThePortalIsHandedOn()
{
    QFETCH(const QString, address);
    QFETCH(const std::string, place);
    SaveDialog panel(connection());
    panel.begin("card.png", [this](const auto& file) { chosen = file; });
    QTRY_COMPARE(portal->requests.size(), 1);

    portal->answer(0, { { "uris", QStringList { address } } });

    QTRY_VERIFY(chosen);
    QCOMPARE(chosen->string(), place);
}

void PictureServicesTest::aCancelledPortalDialogIsSilent()
{
    SaveDialog panel(connection());
    panel.begin("first.png", [](const auto&) { QFAIL("nothing was chosen"); });
    panel.begin("second.png", [this](const auto& file) { chosen = file; });
    QTRY_COMPARE(portal->requests.size(), 2);

    portal->answer(1);
    portal->answer(0, { { "uris", QStringList { "file:///second.png" } } });

    // The answers come in the order in which they are given.
    QTRY_VERIFY(chosen);
    QVERIFY(!openWindow<QFileDialog>());
}

void PictureServicesTest::anAnswerWithoutALocalFileIsSilent()
{
    SaveDialog panel(connection());
    panel.begin("first.png", [](const auto&) { QFAIL("nothing was chosen"); });
    panel.begin("second.png", [](const auto&) { QFAIL("nothing was chosen"); });
    panel.begin("third.png", [this](const auto& file) { chosen = file; });
    QTRY_COMPARE(portal->requests.size(), 3);

    portal->answer(0, { { "uris", QStringList { "sftp://server/card.png" } } });
    portal->answer(0);
    portal->answer(0, { { "uris", QStringList { "file:///third.png" } } });

    QTRY_VERIFY(chosen);
}

void PictureServicesTest::withoutAPortalTheToolkitAsks()
{
    portal.reset();
    SaveDialog panel(connection());

    panel.begin("Knucklet-2026-11-15.png", [this](const auto& file) { chosen = file; });

    QTRY_VERIFY(openWindow<QFileDialog>());
    const auto* dialog = openWindow<QFileDialog>();
    QVERIFY(!dialog->isModal());
    QCOMPARE(dialog->acceptMode(), QFileDialog::AcceptSave);
    QCOMPARE(dialog->nameFilters(), QStringList { "PNG image (*.png)" });
    QCOMPARE(QFileInfo(dialog->selectedFiles().value(0)).fileName(), "Knucklet-2026-11-15.png");
    QVERIFY(!chosen);
}

void PictureServicesTest::thePlaceThatTheUserChoosesInTheToolkitsDialogIsHandedOn_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("name");

    QTest::newRow("with the suffix") << "wörk.png"
                                     << "wörk.png";
    QTest::newRow("without a suffix") << "wörk"
                                      << "wörk.png";
    QTest::newRow("with another suffix") << "wörk.jpg"
                                         << "wörk.jpg.png";
}

void PictureServicesTest::thePlaceThatTheUserChoosesInTheToolkitsDialogIsHandedOn()
{
    QFETCH(const QString, typed);
    QFETCH(const QString, name);
    portal.reset();
    SaveDialog panel(connection());
    panel.begin("card.png", [this](const auto& file) { chosen = file; });
    QTRY_VERIFY(openWindow<QFileDialog>());

    auto* field = openWindow<QFileDialog>()->findChild<QLineEdit*>();
    field->setText(folder->filePath(typed));
    QTest::keyClick(field, Qt::Key_Return);

    QTRY_VERIFY(chosen);
    QCOMPARE(chosen->string(), folder->filePath(name).toStdString());
    QTRY_VERIFY(!openWindow<QFileDialog>());
}

void PictureServicesTest::aCancelledToolkitDialogIsSilent()
{
    portal.reset();
    SaveDialog panel(connection());
    panel.begin("card.png", [this](const auto& file) { chosen = file; });
    QTRY_VERIFY(openWindow<QFileDialog>());

    openWindow<QFileDialog>()->reject();

    QTRY_VERIFY(!openWindow<QFileDialog>());
    QVERIFY(!chosen);
}

void PictureServicesTest::aPlaceGetsTheSuffixOfAPngFile_data()
{
    QTest::addColumn<std::string>("place");
    QTest::addColumn<std::string>("withSuffix");

    const auto row = [](const char* name, const char* place, const char* withSuffix) {
        QTest::newRow(name) << std::string(place) << std::string(withSuffix);
    };
    row("has it", "/card.png", "/card.png");
    row("has it in capitals", "/card.PNG", "/card.PNG");
    row("has none", "/card", "/card.png");
    row("has another", "/card.jpg", "/card.jpg.png");
    row("has a full stop", "/15.11.2026", "/15.11.2026.png");
}

void PictureServicesTest::aPlaceGetsTheSuffixOfAPngFile()
{
    QFETCH(const std::string, place);
    QFETCH(const std::string, withSuffix);

    QCOMPARE(withPngSuffix(place).string(), withSuffix);
}

void PictureServicesTest::aSuffixDoesNotReplaceAFileThatTheUserDidNotChoose()
{
    writeFile(folder->filePath("card.png"), "somebody's");
    const auto chosenPlace = folder->filePath("card").toStdString();

    QCOMPARE(withPngSuffix(chosenPlace).string(), chosenPlace);
}

void PictureServicesTest::thePortalIsHandedThePicture()
{
    ShareChooser sheet(connection(), pictures);

    sheet.share("picture", "Knucklet day card");

    QTRY_COMPARE(portal->requests.size(), 1);
    const auto& request = portal->requests.first();
    QCOMPARE(request.method, "OpenURI.OpenFile");
    QCOMPARE(request.fileContent, QByteArray("picture"));
    QCOMPARE(request.options["ask"].toBool(), true);
    QVERIFY(!openWindow<QMenu>());
}

void PictureServicesTest::aSharedPictureIsTheUsersAloneAndGoesWithTheProgram()
{
    auto sheet = std::make_unique<ShareChooser>(connection(), pictures);
    sheet->share("picture", "Knucklet day card");
    QTRY_COMPARE(portal->requests.size(), 1);
    QCOMPARE(sharedFiles().size(), 1);
    const QString place = folder->filePath("runtime/knucklet/" + sharedFiles().first());

    portal->answer(0);
    sheet->share("picture", "Knucklet day card");
    QTRY_COMPARE(portal->requests.size(), 1);
    portal->answer(1);
    // The second one was not shared; only the first is left.
    QTRY_COMPARE(sharedFiles().size(), 1);

    struct stat status = {};
    QCOMPARE(stat(qPrintable(place + "/Knucklet day card.png"), &status), 0);
    QCOMPARE(status.st_mode & ALLPERMS, mode_t { 0600 });
    QCOMPARE(stat(qPrintable(place), &status), 0);
    QCOMPARE(status.st_mode & ALLPERMS, mode_t { 0700 });
    sheet.reset();
    QCOMPARE(sharedFiles().size(), 1);
    pictures.clear();
    QVERIFY(!QFile::exists(folder->filePath("runtime/knucklet")));
}

void PictureServicesTest::aSharedPictureLiesWhereTheUserAloneCanFindIt_data()
{
    QTest::addColumn<QString>("runtime");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("place");

    QTest::newRow("in the runtime folder") << "runtime" << 0 << "runtime/knucklet";
    QTest::newRow("without one, beside the totals") << "" << 0 << "data/Knucklet/shared";
    QTest::newRow("where that is gone, beside the totals") << "no such folder" << 0 << "data/Knucklet/shared";
    QTest::newRow("in a folder that has been made") << "runtime" << 0700 << "runtime/knucklet";
    QTest::newRow("not in one that others can read") << "runtime" << 0755 << "data/Knucklet/shared";
}

void PictureServicesTest::aSharedPictureLiesWhereTheUserAloneCanFindIt()
{
    QFETCH(const QString, runtime);
    QFETCH(const int, mode);
    QFETCH(const QString, place);
    qputenv("XDG_RUNTIME_DIR", runtime.isEmpty() ? QByteArray() : folder->filePath(runtime).toUtf8());
    QVERIFY(QDir(folder->path()).mkpath("data/Knucklet"));
    if (mode != 0) {
        QVERIFY(QDir(folder->path()).mkdir("runtime/knucklet"));
        QCOMPARE(chmod(qPrintable(folder->filePath("runtime/knucklet")), static_cast<mode_t>(mode)), 0);
    }
    ShareChooser sheet(connection(), pictures);

    sheet.share("picture", "Knucklet day card");

    QTRY_COMPARE(portal->requests.size(), 1);
    QCOMPARE(portal->requests.first().fileContent, QByteArray("picture"));
    QCOMPARE(sharedFiles(place).size(), 1);
    struct stat status = {};
    QCOMPARE(stat(qPrintable(folder->filePath(place)), &status), 0);
    QCOMPARE(status.st_mode & ALLPERMS, mode_t { 0700 });
    pictures.clear();
    QVERIFY(!QFile::exists(folder->filePath(place)));
}

void PictureServicesTest::aPictureThatTheUserDidNotShareGoesAtOnce()
{
    ShareChooser sheet(connection(), pictures);
    sheet.share("picture", "Knucklet day card");
    QTRY_COMPARE(portal->requests.size(), 1);
    QCOMPARE(sharedFiles().size(), 1);

    portal->answer(1);

    QTRY_COMPARE(sharedFiles(), QStringList());
}

void PictureServicesTest::withoutAPortalAMenuOffersWhatOpensPictures()
{
    portal.reset();
    install("viewer.desktop", "Name=Viewer\nExec=viewer %f\n");
    install("painter.desktop", "Name=Painter\nExec=painter %f\n");
    writeFile(folder->filePath("data/applications/mimeinfo.cache"),
        "[MIME Cache]\nimage/png=painter.desktop;viewer.desktop;\n");
    writeFile(folder->filePath("bin/xdg-email"), "#!/bin/sh\n");
    QFile::setPermissions(folder->filePath("bin/xdg-email"), QFile::ReadOwner | QFile::ExeOwner);
    ShareChooser sheet(connection(), pictures);

    sheet.share("picture", "Knucklet day card");

    QTRY_VERIFY(openWindow<QMenu>());
    QStringList titles;
    for (const auto* action : openWindow<QMenu>()->actions())
        titles << (action->isSeparator() ? "-" : action->text());
    QCOMPARE(titles, (QStringList { "Painter", "Viewer", "-", "E-mail…" }));
    openWindow<QMenu>()->close();
}

void PictureServicesTest::theMenuOpensAtTheButtonThatAskedForIt_data()
{
    QTest::addColumn<Qt::LayoutDirection>("direction");
    QTest::addColumn<bool>("isAtTheBottom");

    QTest::newRow("left to right") << Qt::LeftToRight << false;
    QTest::newRow("right to left") << Qt::RightToLeft << false;
    QTest::newRow("without room below") << Qt::LeftToRight << true;
}

void PictureServicesTest::theMenuOpensAtTheButtonThatAskedForIt()
{
    QFETCH(const Qt::LayoutDirection, direction);
    QFETCH(const bool, isAtTheBottom);
    portal.reset();
    QWidget window;
    window.setLayoutDirection(direction);
    const auto screen = window.screen()->availableGeometry();
    window.setGeometry(300, isAtTheBottom ? screen.bottom() - 299 : 100, 300, 300);
    QPushButton button("Share", &window);
    button.setGeometry(200, 260, 80, 30);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window, patience));
    button.setFocus();
    // Where the pointer happens to be.
    QCursor::setPos(window.mapToGlobal(QPoint(150, 100)));
    ShareChooser sheet(connection(), pictures);

    sheet.share("picture", "Knucklet day card");

    QTRY_VERIFY(openWindow<QMenu>());
    const auto menu = openWindow<QMenu>()->geometry();
    const QRect place(button.mapToGlobal(QPoint()), button.size());
    if (direction == Qt::LeftToRight)
        QCOMPARE(menu.left(), place.left());
    else
        QCOMPARE(menu.right(), place.right());
    if (isAtTheBottom)
        QCOMPARE(menu.bottom(), place.top() - 1);
    else
        QCOMPARE(menu.top(), place.bottom() + 1);
    openWindow<QMenu>()->close();
}

void PictureServicesTest::whatIsChosenInTheMenuIsStartedWithThePicture()
{
    portal.reset();
    const auto viewer = folder->filePath("bin/viewer");
    const auto seen = folder->filePath("seen");
    // Written under another name first, so that nobody reads it half written.
    writeFile(viewer,
        "#!/bin/sh\ncat \"$1\" > '" + seen.toUtf8() + ".part' && mv '" + seen.toUtf8() + ".part' '"
            + seen.toUtf8() + "'\n");
    QFile::setPermissions(viewer, QFile::ReadOwner | QFile::ExeOwner);
    install("viewer.desktop", "Name=Viewer\nExec=viewer %f\n");
    writeFile(
        folder->filePath("data/applications/mimeinfo.cache"), "[MIME Cache]\nimage/png=viewer.desktop;\n");
    ShareChooser sheet(connection(), pictures);
    sheet.share("picture", "Knucklet day card");
    QTRY_VERIFY(openWindow<QMenu>());

    QTest::keyClick(openWindow<QMenu>(), Qt::Key_Down);
    QTest::keyClick(openWindow<QMenu>(), Qt::Key_Return);

    QTRY_COMPARE(readFile(seen), QByteArray("picture"));
    QCOMPARE(sharedFiles().size(), 1);
}

void PictureServicesTest::aMenuThatIsClosedLeavesNothing()
{
    portal.reset();
    install("viewer.desktop", "Name=Viewer\nExec=viewer %f\n");
    writeFile(
        folder->filePath("data/applications/mimeinfo.cache"), "[MIME Cache]\nimage/png=viewer.desktop;\n");
    ShareChooser sheet(connection(), pictures);
    sheet.share("picture", "Knucklet day card");
    QTRY_VERIFY(openWindow<QMenu>());
    QCOMPARE(sharedFiles().size(), 1);

    QTest::keyClick(openWindow<QMenu>(), Qt::Key_Escape);

    QTRY_VERIFY(!openWindow<QMenu>());
    QTRY_COMPARE(sharedFiles(), QStringList());
}

void PictureServicesTest::withoutAnyProgramTheMenuSaysSoAndNothingIsLeft()
{
    portal.reset();
    qputenv("PATH", folder->filePath("bin").toUtf8());
    ShareChooser sheet(connection(), pictures);

    sheet.share("picture", "Knucklet day card");

    QTRY_VERIFY(openWindow<QMenu>());
    QStringList titles;
    for (const auto* action : openWindow<QMenu>()->actions()) {
        if (!action->isSeparator())
            titles << action->text() + (action->isEnabled() ? "" : " (disabled)");
    }
    QCOMPARE(titles, QStringList { "No application opens pictures (disabled)" });
    QCOMPARE(sharedFiles(), QStringList());
    openWindow<QMenu>()->close();
}

void PictureServicesTest::withoutAPlaceForThePictureNothingHappens()
{
    qputenv("XDG_RUNTIME_DIR", folder->filePath("no such folder").toUtf8());
    qputenv("XDG_DATA_HOME", folder->filePath("no such folder").toUtf8());
    ShareChooser sheet(connection(), pictures);

    sheet.share("picture", "Knucklet day card");
    // Asked for after the share, and answered by the same portal.
    SaveDialog panel(connection());
    panel.begin("card.png", [this](const auto& file) { chosen = file; });

    QTRY_COMPARE(portal->requests.size(), 1);
    QCOMPARE(portal->requests.first().method, "FileChooser.SaveFile");
}

void PictureServicesTest::applicationsAreListedAsTheUserHasThem()
{
    const auto machine = folder->filePath("machine/applications/");
    const auto machineEntry = [&](const QString& id, const QByteArray& entry) {
        writeFile(machine + id, "[Desktop Entry]\nType=Application\n" + entry);
    };
    machineEntry("viewer.desktop", "Name=Viewer\nExec=viewer %f\nIcon=eye\n");
    machineEntry("painter.desktop", "Name=Painter\nExec=painter %U\n");
    machineEntry("hidden.desktop", "Name=Hidden\nExec=hidden %f\n");
    machineEntry("internal.desktop", "Name=Internal\nExec=internal\nNoDisplay=true\n");
    machineEntry("terminal.desktop", "Name=Terminal\nExec=terminal\nTerminal=true\n");
    machineEntry("absent.desktop", "Name=Absent\nExec=absent\nTryExec=no-such-program\n");
    machineEntry("removed.desktop", "Name=Removed\nExec=removed\n");
    machineEntry("broken.desktop", "Name=Broken\nExec=\"broken\n");
    machineEntry("favorite.desktop", "Name=Favorite\nExec=favorite\n");
    writeFile(machine + "mimeinfo.cache",
        "[MIME "
        "Cache]\nimage/jpeg=favorite.desktop;\nimage/png=viewer.desktop;hidden.desktop;internal.desktop;"
        "terminal.desktop;absent.desktop;removed.desktop;broken.desktop;gone.desktop;painter.desktop;\n");
    install("hidden.desktop", "Hidden=true\n");
    writeFile(folder->filePath("config/mimeapps.list"),
        "[Default Applications]\nimage/png=favorite.desktop\n[Added "
        "Associations]\nimage/png=painter.desktop;\n"
        "[Removed Associations]\nimage/png=removed.desktop;\n");

    const auto applications = pictureApplications();

    QStringList names;
    for (const auto& application : applications)
        names << application.name;
    QCOMPARE(names, (QStringList { "Favorite", "Painter", "Viewer" }));
    QCOMPARE(applications.last().iconName, "eye");
}

void PictureServicesTest::aCommandLineIsFilledIn_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QStringList>("filledIn");

    QTest::newRow("a file") << "view %f" << QStringList { "view", "/a b.png" };
    QTest::newRow("files") << "view --new %F" << QStringList { "view", "--new", "/a b.png" };
    QTest::newRow("an address") << "view %u" << QStringList { "view", "file:///a%20b.png" };
    QTest::newRow("within an argument") << "view --file=%f" << QStringList { "view", "--file=/a b.png" };
    QTest::newRow("no placeholder") << "view" << QStringList { "view", "/a b.png" };
    QTest::newRow("the icon") << "view %i %f" << QStringList { "view", "--icon", "eye", "/a b.png" };
    QTest::newRow("the name") << "view -t %c %f" << QStringList { "view", "-t", "Viewer", "/a b.png" };
    QTest::newRow("of no meaning any more") << "view %m %f" << QStringList { "view", "/a b.png" };
    QTest::newRow("a percent sign") << "view 100%% %f" << QStringList { "view", "100%", "/a b.png" };
    QTest::newRow("quoted") << R"("/opt/My Viewer/view" "" %f)"
                            << QStringList { "/opt/My Viewer/view", "", "/a b.png" };
    QTest::newRow("escaped") << R"(sh -c "echo \\$1 \\"x\\"" %f)"
                             << QStringList { "sh", "-c", R"(echo $1 "x")", "/a b.png" };
    QTest::newRow("a quote that is not closed") << R"(view "%f)" << QStringList();
    QTest::newRow("nothing") << "" << QStringList();
}

void PictureServicesTest::aCommandLineIsFilledIn()
{
    QFETCH(const QString, command);
    QFETCH(const QStringList, filledIn);

    QCOMPARE(
        commandToOpen("/a b.png", { .name = "Viewer", .iconName = "eye", .command = command }), filledIn);
}

static const TestArea area("PictureServices", runTest<PictureServicesTest, QApplication>);
#include "PictureServicesTest.moc"
