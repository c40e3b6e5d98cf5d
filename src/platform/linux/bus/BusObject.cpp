#include "platform/linux/bus/BusObject.h"

#include "platform/linux/bus/SdBus.h"

#include <algorithm>
#include <string_view>
#include <tuple>
#include <utility>

namespace {

constexpr std::string_view propertiesInterface = "org.freedesktop.DBus.Properties";
constexpr std::string_view introspectableInterface = "org.freedesktop.DBus.Introspectable";

constexpr const char* unknownMethod = "org.freedesktop.DBus.Error.UnknownMethod";
constexpr const char* unknownInterface = "org.freedesktop.DBus.Error.UnknownInterface";
constexpr const char* unknownProperty = "org.freedesktop.DBus.Error.UnknownProperty";
constexpr const char* readOnlyProperty = "org.freedesktop.DBus.Error.PropertyReadOnly";
constexpr const char* invalidArguments = "org.freedesktop.DBus.Error.InvalidArgs";
constexpr const char* limitsExceeded = "org.freedesktop.DBus.Error.LimitsExceeded";

constexpr std::string_view introspectionHeader
    = R"(<!DOCTYPE node PUBLIC "-//freedesktop//DTD D-BUS Object Introspection 1.0//EN"
"http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd">
<node>
)";

// What every object on a bus has.
constexpr std::string_view standardInterfaces = R"(  <interface name="org.freedesktop.DBus.Properties">
    <method name="Get">
      <arg name="interface_name" type="s" direction="in"/>
      <arg name="property_name" type="s" direction="in"/>
      <arg name="value" type="v" direction="out"/>
    </method>
    <method name="Set">
      <arg name="interface_name" type="s" direction="in"/>
      <arg name="property_name" type="s" direction="in"/>
      <arg name="value" type="v" direction="in"/>
    </method>
    <method name="GetAll">
      <arg name="interface_name" type="s" direction="in"/>
      <arg name="values" type="a{sv}" direction="out"/>
    </method>
    <signal name="PropertiesChanged">
      <arg name="interface_name" type="s"/>
      <arg name="changed_properties" type="a{sv}"/>
      <arg name="invalidated_properties" type="as"/>
    </signal>
  </interface>
  <interface name="org.freedesktop.DBus.Introspectable">
    <method name="Introspect">
      <arg name="xml_data" type="s" direction="out"/>
    </method>
  </interface>
  <interface name="org.freedesktop.DBus.Peer">
    <method name="Ping"/>
    <method name="GetMachineId">
      <arg name="machine_uuid" type="s" direction="out"/>
    </method>
  </interface>
</node>
)";

std::string text(const char* possiblyNull) { return possiblyNull ? possiblyNull : ""; }

std::string signature(const std::vector<BusArgument>& arguments)
{
    std::string types;
    for (const auto& argument : arguments)
        types += argument.type;
    return types;
}

bool hasTypes(sd_bus_message* message, const std::string& types)
{
    return text(sd_bus_message_get_signature(message, 1)) == types;
}

int answerError(sd_bus_message* message, const char* name, const std::string& explanation)
{
    return sd_bus_reply_method_errorf(message, name, "%s", explanation.c_str());
}

int answerInvalidArguments(sd_bus_message* message)
{
    return answerError(
        message, invalidArguments, "Invalid arguments of '" + text(sd_bus_message_get_member(message)) + "'");
}

int answerUnreadable(sd_bus_message* message, const BusReader& reader)
{
    if (!reader.isTooLarge())
        return answerInvalidArguments(message);
    return answerError(
        message, limitsExceeded, "Too large arguments of '" + text(sd_bus_message_get_member(message)) + "'");
}

int answerUnknownMethod(sd_bus_message* message)
{
    return answerError(
        message, unknownMethod, "No such method '" + text(sd_bus_message_get_member(message)) + "'");
}

int answerUnknownInterface(sd_bus_message* message, const std::string& name)
{
    return answerError(message, unknownInterface, "No such interface '" + name + "'");
}

int answerUnknownProperty(sd_bus_message* message, const std::string& name)
{
    return answerError(message, unknownProperty, "No such property '" + name + "'");
}

BusMessage replyTo(sd_bus_message* message)
{
    sd_bus_message* reply = nullptr;
    std::ignore = sd_bus_message_new_method_return(message, &reply);
    return BusMessage(reply);
}

/// Names and types have no characters that mean anything to XML.
std::string attribute(const std::string& name, const std::string& value)
{
    return ' ' + name + "=\"" + value + '"';
}

std::string described(const std::vector<BusArgument>& arguments, const std::string& direction)
{
    std::string xml;
    for (const auto& argument : arguments) {
        xml += "      <arg" + attribute("name", argument.name) + attribute("type", argument.type);
        if (!direction.empty())
            xml += attribute("direction", direction);
        xml += "/>\n";
    }
    return xml;
}

bool isThere(const BusProperty& property) { return !property.isThere || property.isThere(); }

}

BusObject::BusObject(Bus& bus, std::string path, BusInterface interface)
    : bus(bus)
    , path(std::move(path))
    , interface(std::move(interface))
{
    if (!bus.connection)
        return;
    const auto receive = [](sd_bus_message* message, void* self, sd_bus_error*) {
        const int result = static_cast<BusObject*>(self)->answer(message);
        // Nobody else has to answer.
        return result < 0 ? result : 1;
    };
    std::ignore = sd_bus_add_object(bus.connection, &slot, this->path.c_str(), receive, this);
}

BusObject::~BusObject() { sd_bus_slot_unref(slot); }

void BusObject::emitSignal(const std::string& name, const BusValues& values)
{
    bus.emitSignal(path, interface.name, name, values);
}

int BusObject::answer(sd_bus_message* message)
{
    const auto called = text(sd_bus_message_get_interface(message));
    const auto member = text(sd_bus_message_get_member(message));
    if (called == propertiesInterface) {
        if (member == "Get")
            return answerGet(message);
        if (member == "GetAll")
            return answerGetAll(message);
        if (member == "Set")
            return answerSet(message);
        return answerUnknownMethod(message);
    }
    if (called == introspectableInterface)
        return member == "Introspect" ? answerIntrospection(message) : answerUnknownMethod(message);
    // A call may leave the interface out.
    if (called == interface.name || called.empty())
        return answerMethod(message);
    return answerUnknownInterface(message, called);
}

int BusObject::answerMethod(sd_bus_message* message)
{
    const auto* called = method(text(sd_bus_message_get_member(message)));
    if (!called)
        return answerUnknownMethod(message);
    if (!hasTypes(message, signature(called->takes)))
        return answerInvalidArguments(message);
    const auto reply = replyTo(message);
    BusReader arguments(message);
    BusWriter results(reply.get());
    if (!called->call(arguments, results) || !arguments.isGood())
        return answerUnreadable(message, arguments);
    return sd_bus_send(bus.connection, reply.get(), nullptr);
}

/// What a question about properties is answered that cannot be read or is about another interface. Without
/// one named, this one is meant.
std::optional<int> BusObject::refusal(
    sd_bus_message* message, const BusReader& arguments, const std::string& interfaceName) const
{
    if (!arguments.isGood())
        return answerUnreadable(message, arguments);
    if (!interfaceName.empty() && interfaceName != interface.name)
        return answerUnknownInterface(message, interfaceName);
    return {};
}

int BusObject::answerGet(sd_bus_message* message)
{
    if (!hasTypes(message, "ss"))
        return answerInvalidArguments(message);
    BusReader arguments(message);
    const auto interfaceName = arguments.readString();
    const auto name = arguments.readString();
    if (const auto answer = refusal(message, arguments, interfaceName))
        return *answer;
    const auto* found = property(name);
    if (!found)
        return answerUnknownProperty(message, name);
    const auto reply = replyTo(message);
    BusWriter results(reply.get());
    results.writeVariant(found->type, [&] { found->write(results); });
    return sd_bus_send(bus.connection, reply.get(), nullptr);
}

int BusObject::answerGetAll(sd_bus_message* message)
{
    if (!hasTypes(message, "s"))
        return answerInvalidArguments(message);
    BusReader arguments(message);
    const auto interfaceName = arguments.readString();
    if (const auto answer = refusal(message, arguments, interfaceName))
        return *answer;
    const auto reply = replyTo(message);
    BusWriter results(reply.get());
    results.writeArray("{sv}", [&] {
        for (const auto& each : interface.properties) {
            if (isThere(each))
                results.writeEntry(each.name, each.type, [&] { each.write(results); });
        }
    });
    return sd_bus_send(bus.connection, reply.get(), nullptr);
}

int BusObject::answerSet(sd_bus_message* message)
{
    if (!hasTypes(message, "ssv"))
        return answerInvalidArguments(message);
    BusReader arguments(message);
    const auto interfaceName = arguments.readString();
    const auto name = arguments.readString();
    if (const auto answer = refusal(message, arguments, interfaceName))
        return *answer;
    if (!property(name))
        return answerUnknownProperty(message, name);
    return answerError(message, readOnlyProperty, "Property '" + name + "' is read-only");
}

int BusObject::answerIntrospection(sd_bus_message* message)
{
    if (!hasTypes(message, ""))
        return answerInvalidArguments(message);
    const auto reply = replyTo(message);
    BusWriter results(reply.get());
    results.writeString(introspection());
    const int result = sd_bus_send(bus.connection, reply.get(), nullptr);
    if (interface.introspected)
        interface.introspected();
    return result;
}

std::string BusObject::introspection() const
{
    std::string xml(introspectionHeader);
    xml += "  <interface" + attribute("name", interface.name) + ">\n";
    // Unless told, clients expect a signal of the standard interface for each change.
    xml += "    <annotation" + attribute("name", "org.freedesktop.DBus.Property.EmitsChangedSignal")
        + attribute("value", "false") + "/>\n";
    for (const auto& each : interface.methods) {
        xml += "    <method" + attribute("name", each.name) + ">\n" + described(each.takes, "in")
            + described(each.gives, "out") + "    </method>\n";
    }
    for (const auto& each : interface.emits) {
        xml += "    <signal" + attribute("name", each.name) + ">\n" + described(each.arguments, "")
            + "    </signal>\n";
    }
    for (const auto& each : interface.properties) {
        if (isThere(each)) {
            xml += "    <property" + attribute("name", each.name) + attribute("type", each.type)
                + attribute("access", "read") + "/>\n";
        }
    }
    xml += "  </interface>\n";
    return xml += standardInterfaces;
}

const BusMethod* BusObject::method(const std::string& name) const
{
    const auto found = std::ranges::find(interface.methods, name, &BusMethod::name);
    return found == interface.methods.end() ? nullptr : &*found;
}

const BusProperty* BusObject::property(const std::string& name) const
{
    const auto found = std::ranges::find(interface.properties, name, &BusProperty::name);
    return found == interface.properties.end() || !isThere(*found) ? nullptr : &*found;
}
