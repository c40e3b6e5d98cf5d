#include "platform/linux/input/SessionLock.h"

#include "platform/linux/bus/Bus.h"

#include <utility>

namespace {

constexpr const char* service = "org.freedesktop.login1";
constexpr const char* managerPath = "/org/freedesktop/login1";
constexpr const char* managerInterface = "org.freedesktop.login1.Manager";
constexpr const char* sessionInterface = "org.freedesktop.login1.Session";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";
constexpr const char* lockedHint = "LockedHint";

}

SessionLock::SessionLock(Bus& systemBus, std::function<void()> willChange)
    : bus(systemBus)
    , willChange(std::move(willChange))
    , managers(bus.listen({ .sender = "org.freedesktop.DBus",
                              .path = "/org/freedesktop/DBus",
                              .interface = "org.freedesktop.DBus",
                              .member = "NameOwnerChanged",
                              .firstValue = service },
          [this](BusReader values) {
              values.skip("ss");
              // One that has ended is not started again: it has told what there is to know.
              if (!values.readString().empty())
                  findSession();
          }))
{
    findSession();
}

SessionLock::~SessionLock() = default;

/// The session that this process belongs to; for one that the user's service manager has started, the session
/// with the display. Asked for by name because signals come from the object of that name only.
void SessionLock::findSession()
{
    question = bus.call({ .destination = service,
                            .path = managerPath,
                            .interface = managerInterface,
                            .member = "GetSession",
                            .arguments = [](BusWriter& arguments) { arguments.writeString("auto"); },
                            .startsService = true },
        [this](const BusAnswer& answer) { sessionFound(answer); });
}

void SessionLock::sessionFound(const BusAnswer& session)
{
    const auto path = session.values().readObjectPath();
    if (session.isError() || path.empty())
        return;
    changes = bus.listen({ .sender = session.sender(),
                             .path = path,
                             .interface = propertiesInterface,
                             .member = "PropertiesChanged",
                             .firstValue = sessionInterface },
        [this](BusReader values) {
            values.skip("s");
            become(values.readBooleanOf(lockedHint));
        });
    sleep = bus.listen({ .sender = session.sender(),
                           .path = managerPath,
                           .interface = managerInterface,
                           .member = "PrepareForSleep" },
        [this](BusReader values) {
            // Told again, with false, when it is over.
            if (values.readBoolean())
                willChange();
        });
    question = bus.call({ .destination = session.sender(),
                            .path = path,
                            .interface = propertiesInterface,
                            .member = "Get",
                            .arguments =
                                [](BusWriter& arguments) {
                                    arguments.writeString(sessionInterface);
                                    arguments.writeString(lockedHint);
                                } },
        [this](const BusAnswer& answer) {
            if (!answer.isError())
                become(answer.values().readBooleanInVariant());
        });
}

void SessionLock::become(std::optional<bool> isLocked)
{
    if (!isLocked || *isLocked == locked)
        return;
    willChange();
    locked = *isLocked;
}
