#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QVariant>

#include <functional>
#include <optional>
#include <vector>

/// A value that a method or a signal carries; the type is a D-Bus signature such as "i" or "a{sv}".
struct DbusArgument {
    QString name;
    QString type;
};

struct DbusMethod {
    QString name;
    std::vector<DbusArgument> takes;
    std::vector<DbusArgument> gives;
    /// Called with values of the types above only. Nothing, for values that name something that does not
    /// exist, is answered with an error.
    std::function<std::optional<QVariantList>(const QVariantList&)> call;
};

/// A property that clients may read.
struct DbusProperty {
    QString name;
    QString type;
    /// As long as the value is invalid, the object has no such property.
    std::function<QVariant()> value;
};

struct DbusSignal {
    QString name;
    std::vector<DbusArgument> arguments;
};

struct DbusInterface {
    QString name;
    std::vector<DbusMethod> methods;
    std::vector<DbusProperty> properties;
    std::vector<DbusSignal> emits;
    /// Called when somebody has asked what the object has; may be empty.
    std::function<void()> introspected = {};
};

/// An object of one interface on a bus, for interfaces whose clients look closely at what is there: a
/// property may come and go, types are exact, wrong calls get the errors that D-Bus names, and introspection
/// says the same as the object.
class DbusObject final : public QDBusVirtualObject {
public:
    DbusObject(const QDBusConnection& bus, const QString& path, DbusInterface interface);
    ~DbusObject() override;

    /// Sends a signal of the interface.
    void emitSignal(const QString& name, const QVariantList& arguments = {});

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;
    QString introspect(const QString& path) const override;

private:
    /// Nothing for what QtDBus answers itself, such as a request to introspect.
    std::optional<QDBusMessage> answer(const QDBusMessage& message) const;
    QDBusMessage answerMethod(const QDBusMessage& message) const;
    QDBusMessage answerGet(const QDBusMessage& message) const;
    QDBusMessage answerGetAll(const QDBusMessage& message) const;
    QDBusMessage answerSet(const QDBusMessage& message) const;
    const DbusMethod* method(const QString& name) const;
    QVariant property(const QString& name) const;

    QDBusConnection bus;
    QString path;
    DbusInterface interface;
};
