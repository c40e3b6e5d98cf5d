#include "platform/linux/portal/OpenFile.h"

#include "platform/linux/process/OwnProcess.h"
#include "support/Patience.h"
#include "support/PrivateBus.h"
#include "support/TestArea.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

QByteArray readFile(const QString& name)
{
    QFile file(name);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

}

/// A portal that writes down what it is asked to open.
class OpeningPortal final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.OpenURI")

public:
    OpeningPortal()
        : bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, "portal"))
    {
        bus.registerObject("/org/freedesktop/portal/desktop", this, QDBusConnection::ExportAllSlots);
        bus.registerService("org.freedesktop.portal.Desktop");
    }
    ~OpeningPortal() override { QDBusConnection::disconnectFromBus("portal"); }

    QString opened;

public slots:
    // NOLINTNEXTLINE(readability-identifier-naming): the name is that of the interface.
    QDBusObjectPath OpenFile(const QString&, const QDBusUnixFileDescriptor& file, const QVariantMap&)
    {
        opened = QFile::symLinkTarget(QString("/proc/self/fd/%1").arg(file.fileDescriptor()));
        return QDBusObjectPath("/org/freedesktop/portal/desktop/request/1");
    }

private:
    QDBusConnection bus;
};

class OpenFileTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void thePortalReceivesTheOpenFile();
    void withoutAPortalTheDesktopsOpenerIsStarted();
    void aFileThatIsNotThereOpensNothing();
    void inputMonitoringIsExplainedByAPageOfOurOwn();

private:
    QString file() const { return folder->filePath("a file"); }
    QByteArray openerWasGiven() const { return readFile(folder->filePath("opened")); }

    PrivateBus privateBus;
    std::unique_ptr<QTemporaryDir> folder;
};

void OpenFileTest::initTestCase()
{
    QVERIFY(!privateBus.address().isEmpty());
    qputenv("DBUS_SESSION_BUS_ADDRESS", privateBus.address().toLocal8Bit());
}

// The desktop's opener is one that writes down what it is given.
void OpenFileTest::init()
{
    folder = std::make_unique<QTemporaryDir>();
    QFile text(file());
    QVERIFY(text.open(QFile::WriteOnly));
    QFile opener(folder->filePath("xdg-open"));
    QVERIFY(opener.open(QFile::WriteOnly));
    opener.write("#!/bin/sh\nprintf %s \"$1\" > \"${0%/*}/opened\"\n");
    opener.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    qputenv("PATH", folder->path().toLocal8Bit() + ":/usr/bin:/bin");
}

void OpenFileTest::thePortalReceivesTheOpenFile()
{
    const OpeningPortal portal;

    openFile(file());

    QTRY_COMPARE(portal.opened, file());
    QCOMPARE(openerWasGiven(), QByteArray());
}

void OpenFileTest::withoutAPortalTheDesktopsOpenerIsStarted()
{
    openFile(file());

    QTRY_COMPARE(openerWasGiven(), file().toLocal8Bit());
}

void OpenFileTest::aFileThatIsNotThereOpensNothing()
{
    const OpeningPortal portal;

    openFile(folder->filePath("no file"));
    openFile(file());

    QTRY_COMPARE(portal.opened, file());
    QCOMPARE(openerWasGiven(), QByteArray());
}

void OpenFileTest::inputMonitoringIsExplainedByAPageOfOurOwn()
{
    const OpeningPortal portal;
    EventLoop loop;
    OwnProcess desktop(loop,
        {
            .beginEnd = [] {},
            .drainInput = [] {},
            .makeWay = [] {},
            .openFile = [](const auto& page) { openFile(QString::fromStdString(page)); },
        });

    desktop.openInputMonitoringSettings();

    QTRY_COMPARE(QFileInfo(portal.opened).fileName(), QString("input-monitoring.html"));
    // It loads nothing from anywhere else.
    const QByteArray page = readFile(portal.opened);
    QVERIFY(page.contains("<title>Input Monitoring on Linux</title>"));
    for (const char* reference : { "http:", "https:", "src=", "href=", "url(", "@import" })
        QVERIFY2(!page.contains(reference), reference);
}

static const TestArea area("OpenFile", runTest<OpenFileTest>);
#include "OpenFileTest.moc"
