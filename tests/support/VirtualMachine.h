#pragma once

#include <QByteArray>
#include <QImage>
#include <QJsonArray>
#include <QJsonObject>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPoint>
#include <QProcess>
#include <QSize>
#include <QString>
#include <QTemporaryDir>

#include <functional>

/// A Linux with a kernel of its own, on an emulated machine with a keyboard and a mouse that this class plays
/// from outside. It ends with this object, and with the process should that crash.
class VirtualMachine final {
public:
    enum class Kind {
        /// A shell, with no more around it than the input helper needs.
        Bare,
        /// The system of this machine, with the files that it has, a screen, and Knucklet installed. What
        /// changes there is kept in memory.
        Desktop,
    };
    static constexpr QSize screenSize { 1024, 700 };

    explicit VirtualMachine(Kind kind);
    VirtualMachine(const VirtualMachine&) = delete;
    VirtualMachine& operator=(const VirtualMachine&) = delete;
    ~VirtualMachine();

    /// Makes what it starts from and returns when the machine is up; false when it does not come up.
    [[nodiscard]] bool start();
    /// Runs a command in the machine's shell, as root, and gives back what it says, without the last line's
    /// end. A failure of the machine itself ends the test program.
    QByteArray run(const QString& command);

    /// Keys and buttons go by their names in the emulator's protocol, such as "a", "shift", "left", "side".
    void pressKey(const QString& key) { sendKey(key, true); }
    void releaseKey(const QString& key) { sendKey(key, false); }
    void typeKey(const QString& key);
    void click(const QString& button);
    void scroll() { click("wheel-up"); }
    void move();
    /// Only with a desktop, whose mouse says where on the screen it is.
    void moveTo(QPoint place);

    /// What is on the screen of a desktop.
    QImage picture();

    void plugInKeyboard(const QString& name);
    void unplug(const QString& name);

private:
    void sendKey(const QString& key, bool isDown);
    void sendButton(const QString& button, bool isDown);
    void send(const QJsonArray& events);
    void command(const QString& name, const QJsonObject& arguments = {});
    void awaitMessage(const std::function<bool(const QJsonObject&)>& isAwaited);
    QByteArray readUntil(const QByteArray& mark);

    Kind kind;
    QTemporaryDir files;
    QLocalServer monitorServer;
    QLocalServer shellServer;
    QProcess emulator;
    QLocalSocket* monitor = nullptr;
    QLocalSocket* shell = nullptr;
    QByteArray unread;
};
