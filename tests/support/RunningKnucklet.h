#pragma once

#include <QDBusConnection>
#include <QList>
#include <QPoint>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRect>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

class VirtualDesktop;

class QTemporaryDir;

/// Copies a program that was built into a folder of its own, as "knucklet" with its modules in "modules".
[[nodiscard]] bool copyProgram(const QString& program, const QTemporaryDir& folder);

/// The real program on a virtual desktop, seen from outside: its item on the bus, its file, its end.
class RunningKnucklet final {
public:
    /// The desktop must outlive it. `extra` is added to the desktop's environment.
    RunningKnucklet(
        const VirtualDesktop& desktop, const QString& program, const QProcessEnvironment& extra = {});
    RunningKnucklet(const RunningKnucklet&) = delete;
    RunningKnucklet& operator=(const RunningKnucklet&) = delete;
    ~RunningKnucklet();

    /// Waits until the tray knows the item; from then on everything is counted.
    [[nodiscard]] bool awaitItem();
    /// Waits until the program counts, on a desktop that needs no tray.
    [[nodiscard]] bool awaitCounting();
    /// Where the whole icon stands, in pixels of the screen, in a bar of 28 pixels; null while there is none.
    /// Without a tray given, that of a bar along the top is meant.
    QRect icon() const;
    /// Waits for it; null when it does not come.
    QRect awaitIcon() const;
    QRect awaitIcon(const QRect& tray) const;
    /// A property of the item, asked of the program itself; invalid when it has none of that name.
    QVariant itemProperty(const QString& name) const;
    /// The text of the item's tooltip.
    QString toolTip() const;
    /// The titles of the item's menu, from top to bottom.
    QStringList commands() const;
    /// Chooses from the item's menu as a tray does; false when there is no such command.
    [[nodiscard]] bool choose(const QString& command) const;
    /// Tells the item of a click at this place of the screen, as a bar does, whatever it means by that.
    [[nodiscard]] bool reportClick(QPoint place) const;
    /// Waits until the program has done what it had been told to do, and what it had put off then.
    void settle() const;
    /// The item's own name on the bus.
    QString itemService() const { return service; }
    QDBusConnection sessionBus() const { return bus; }

    qint64 processId() const { return process->processId(); }
    /// Of which files there are parts in its memory, as /proc tells.
    QByteArray mappings() const;
    bool isRunning() const { return process->state() == QProcess::Running; }
    /// False when the program has ended before.
    [[nodiscard]] bool send(int signal) const;
    /// Sends the signal and waits for the process to end; true when it ended by itself with code 0.
    [[nodiscard]] bool end(int signal);
    [[nodiscard]] bool awaitEnd();
    /// What the program wrote to its standard and error output, without what a debug build tells a developer.
    QByteArray output() const;
    /// With that.
    QByteArray debugOutput() const { return process->readAll(); }

private:
    struct MenuEntry {
        int id;
        QString title;
    };
    void foundItem(const QString& name);
    QList<MenuEntry> menu() const;
    QRect endOfBar() const;
    QRect icon(const QRect& tray) const;

    const VirtualDesktop& desktop;
    QString busName;
    QDBusConnection bus;
    std::unique_ptr<QProcess> process;
    QString service;
    /// Which has the item, also when that goes by another name.
    QString connection;
};

/// The text of the stats file of a desktop's user; null when there is none.
QByteArray statsFile(const VirtualDesktop& desktop);
void writeStatsFile(const VirtualDesktop& desktop, const QByteArray& text);
/// The text of the program's settings file of a desktop's user; null when there is none.
QByteArray settingsFile(const VirtualDesktop& desktop);
void writeSettingsFile(const VirtualDesktop& desktop, const QByteArray& text);
/// Gives a desktop's user a program that opens pictures with this command line, and is the only one of its
/// own.
void writeViewer(const VirtualDesktop& desktop, const QByteArray& command);
