#pragma once

#include "platform/linux/bus/Bus.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// A value that a method or a signal carries; the type is a D-Bus signature such as "i" or "a{sv}".
struct BusArgument {
    std::string name;
    std::string type;
};

struct BusMethod {
    std::string name;
    std::vector<BusArgument> takes;
    std::vector<BusArgument> gives;
    /// Called with values of the types above only. False, for values that name something that does not exist,
    /// is answered with an error.
    std::function<bool(BusReader&, BusWriter&)> call;
};

/// A property that clients may read.
struct BusProperty {
    std::string name;
    std::string type;
    std::function<void(BusWriter&)> write;
    /// As long as this is false, the object has no such property. It always has one that is without this.
    std::function<bool()> isThere = {};
};

struct BusSignalDescription {
    std::string name;
    std::vector<BusArgument> arguments;
};

struct BusInterface {
    std::string name;
    std::vector<BusMethod> methods;
    std::vector<BusProperty> properties;
    std::vector<BusSignalDescription> emits;
    /// Called when somebody has asked what the object has; may be empty.
    std::function<void()> introspected = {};
};

/// An object of one interface on a bus, for interfaces whose clients look closely at what is there: a
/// property may come and go, types are exact, wrong calls get the errors that D-Bus names, and introspection
/// says the same as the object.
class BusObject final {
public:
    BusObject(Bus& bus, std::string path, BusInterface interface);
    BusObject(const BusObject&) = delete;
    BusObject& operator=(const BusObject&) = delete;
    ~BusObject();

    /// Sends a signal of the interface.
    void emitSignal(const std::string& name, const BusValues& values = {});

private:
    int answer(sd_bus_message* message);
    int answerMethod(sd_bus_message* message);
    int answerGet(sd_bus_message* message);
    int answerGetAll(sd_bus_message* message);
    int answerSet(sd_bus_message* message);
    int answerIntrospection(sd_bus_message* message);
    std::optional<int> refusal(
        sd_bus_message* message, const BusReader& arguments, const std::string& interfaceName) const;
    std::string introspection() const;
    const BusMethod* method(const std::string& name) const;
    /// One that is there.
    const BusProperty* property(const std::string& name) const;

    Bus& bus;
    std::string path;
    BusInterface interface;
    sd_bus_slot* slot = nullptr;
};
