#include "platform/linux/DbusObject.h"

#include <QDBusVariant>
#include <QXmlStreamWriter>

#include <algorithm>

namespace {

const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

QString signature(const std::vector<DbusArgument>& arguments)
{
    QString types;
    for (const DbusArgument& argument : arguments)
        types += argument.type;
    return types;
}

QDBusMessage invalidArguments(const QDBusMessage& message)
{
    return message.createErrorReply(
        QDBusError::InvalidArgs, "Invalid arguments of '" + message.member() + "'");
}

QDBusMessage unknownMethod(const QDBusMessage& message)
{
    return message.createErrorReply(QDBusError::UnknownMethod, "No such method '" + message.member() + "'");
}

QDBusMessage unknownInterface(const QDBusMessage& message, const QString& name)
{
    return message.createErrorReply(QDBusError::UnknownInterface, "No such interface '" + name + "'");
}

QDBusMessage unknownProperty(const QDBusMessage& message, const QString& name)
{
    return message.createErrorReply(QDBusError::UnknownProperty, "No such property '" + name + "'");
}

void writeArguments(
    QXmlStreamWriter& xml, const std::vector<DbusArgument>& arguments, const QString& direction)
{
    for (const DbusArgument& argument : arguments) {
        xml.writeEmptyElement("arg");
        xml.writeAttribute("name", argument.name);
        xml.writeAttribute("type", argument.type);
        if (!direction.isEmpty())
            xml.writeAttribute("direction", direction);
    }
}

}

DbusObject::DbusObject(const QDBusConnection& bus, const QString& path, DbusInterface interface)
    : bus(bus)
    , path(path)
    , interface(std::move(interface))
{
    this->bus.registerVirtualObject(path, this);
}

DbusObject::~DbusObject() { bus.unregisterObject(path); }

void DbusObject::emitSignal(const QString& name, const QVariantList& arguments)
{
    QDBusMessage signal = QDBusMessage::createSignal(path, interface.name, name);
    signal.setArguments(arguments);
    bus.send(signal);
}

bool DbusObject::handleMessage(const QDBusMessage& message, const QDBusConnection& connection)
{
    const auto result = answer(message);
    if (result && message.isReplyRequired())
        connection.send(*result);
    return result.has_value();
}

QString DbusObject::introspect(const QString&) const
{
    QString text;
    QXmlStreamWriter xml(&text);
    xml.writeStartElement("interface");
    xml.writeAttribute("name", interface.name);
    // Unless told, clients expect a signal of the standard interface for each change.
    xml.writeEmptyElement("annotation");
    xml.writeAttribute("name", "org.freedesktop.DBus.Property.EmitsChangedSignal");
    xml.writeAttribute("value", "false");
    for (const DbusMethod& method : interface.methods) {
        xml.writeStartElement("method");
        xml.writeAttribute("name", method.name);
        writeArguments(xml, method.takes, "in");
        writeArguments(xml, method.gives, "out");
        xml.writeEndElement();
    }
    for (const DbusSignal& signal : interface.emits) {
        xml.writeStartElement("signal");
        xml.writeAttribute("name", signal.name);
        writeArguments(xml, signal.arguments, {});
        xml.writeEndElement();
    }
    for (const DbusProperty& property : interface.properties) {
        if (!property.value().isValid())
            continue;
        xml.writeEmptyElement("property");
        xml.writeAttribute("name", property.name);
        xml.writeAttribute("type", property.type);
        xml.writeAttribute("access", "read");
    }
    xml.writeEndElement();
    if (interface.introspected)
        interface.introspected();
    return text;
}

std::optional<QDBusMessage> DbusObject::answer(const QDBusMessage& message) const
{
    if (message.interface() == propertiesInterface) {
        if (message.member() == "Get")
            return answerGet(message);
        if (message.member() == "GetAll")
            return answerGetAll(message);
        if (message.member() == "Set")
            return answerSet(message);
        return {};
    }
    // A call may leave the interface out.
    if (message.interface() == interface.name || (message.interface().isEmpty() && method(message.member())))
        return answerMethod(message);
    return {};
}

QDBusMessage DbusObject::answerMethod(const QDBusMessage& message) const
{
    const DbusMethod* called = method(message.member());
    if (!called)
        return unknownMethod(message);
    if (message.signature() != signature(called->takes))
        return invalidArguments(message);
    const auto results = called->call(message.arguments());
    return results ? message.createReply(*results) : invalidArguments(message);
}

QDBusMessage DbusObject::answerGet(const QDBusMessage& message) const
{
    if (message.signature() != "ss")
        return invalidArguments(message);
    const QString interfaceName = message.arguments()[0].toString();
    if (!interfaceName.isEmpty() && interfaceName != interface.name)
        return unknownInterface(message, interfaceName);

    const QString name = message.arguments()[1].toString();
    const QVariant value = property(name);
    if (!value.isValid())
        return unknownProperty(message, name);
    return message.createReply(QVariant::fromValue(QDBusVariant(value)));
}

QDBusMessage DbusObject::answerGetAll(const QDBusMessage& message) const
{
    if (message.signature() != "s")
        return invalidArguments(message);
    const QString interfaceName = message.arguments()[0].toString();
    if (!interfaceName.isEmpty() && interfaceName != interface.name)
        return unknownInterface(message, interfaceName);

    QVariantMap values;
    for (const DbusProperty& property : interface.properties) {
        const QVariant value = property.value();
        if (value.isValid())
            values.insert(property.name, value);
    }
    return message.createReply(values);
}

QDBusMessage DbusObject::answerSet(const QDBusMessage& message) const
{
    if (message.signature() != "ssv")
        return invalidArguments(message);
    const QString interfaceName = message.arguments()[0].toString();
    if (!interfaceName.isEmpty() && interfaceName != interface.name)
        return unknownInterface(message, interfaceName);

    const QString name = message.arguments()[1].toString();
    if (!property(name).isValid())
        return unknownProperty(message, name);
    return message.createErrorReply(QDBusError::PropertyReadOnly, "Property '" + name + "' is read-only");
}

const DbusMethod* DbusObject::method(const QString& name) const
{
    const auto found = std::find_if(interface.methods.begin(), interface.methods.end(),
        [&](const DbusMethod& method) { return method.name == name; });
    return found == interface.methods.end() ? nullptr : &*found;
}

QVariant DbusObject::property(const QString& name) const
{
    const auto found = std::find_if(interface.properties.begin(), interface.properties.end(),
        [&](const DbusProperty& property) { return property.name == name; });
    return found == interface.properties.end() ? QVariant() : found->value();
}
