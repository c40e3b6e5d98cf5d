#include "support/SessionManager.h"

#include <QSocketNotifier>

// Its names would otherwise be those of macros.
#undef Bool
#include <X11/ICE/ICElib.h>
#include <X11/ICE/ICEutil.h>
#include <X11/SM/SMlib.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>

namespace {

/// What the library's callbacks fill in.
struct Session {
    SmsConn client = nullptr;
    bool isEnding = false;
    bool wasAskedToInteract = false;
    std::optional<int> restartStyle;
    IceListenObj* listenObjects = nullptr;
    int listenObjectCount = 0;
};

Session session;

Bool letEverybodyIn(char*) { return True; }

Status registerClient(SmsConn connection, SmPointer, char* previousId)
{
    std::free(previousId);
    char* id = SmsGenerateClientID(connection);
    SmsRegisterClientReply(connection, id);
    std::free(id);
    session.client = connection;
    // The protocol's greeting to a client that is new, after which the session may end.
    SmsSaveYourself(connection, SmSaveLocal, False, SmInteractStyleNone, False);
    return 1;
}

void requestInteraction(SmsConn connection, SmPointer, int)
{
    session.wasAskedToInteract = true;
    SmsInteract(connection);
}

void saveDone(SmsConn connection, SmPointer, Bool)
{
    if (session.isEnding) {
        SmsDie(connection);
    } else {
        SmsSaveComplete(connection);
    }
}

void closeConnection(SmsConn connection, SmPointer, int count, char** reasons)
{
    SmFreeReasons(count, reasons);
    session.client = nullptr;
    const auto ice = SmsGetIceConnection(connection);
    SmsCleanUp(connection);
    IceSetShutdownNegotiation(ice, False);
    IceCloseConnection(ice);
}

void setProperties(SmsConn, SmPointer, int count, SmProp** properties)
{
    for (int i = 0; i < count; ++i) {
        if (std::strcmp(properties[i]->name, SmRestartStyleHint) == 0)
            session.restartStyle = *static_cast<const char*>(properties[i]->vals[0].value);
        SmFreeProperty(properties[i]);
    }
    std::free(properties);
}

Status newClient(SmsConn, SmPointer, unsigned long* mask, SmsCallbacks* callbacks, char**)
{
    *mask = SmsRegisterClientProcMask | SmsInteractRequestProcMask | SmsInteractDoneProcMask
        | SmsSaveYourselfRequestProcMask | SmsSaveYourselfP2RequestProcMask | SmsSaveYourselfDoneProcMask
        | SmsCloseConnectionProcMask | SmsSetPropertiesProcMask | SmsDeletePropertiesProcMask
        | SmsGetPropertiesProcMask;
    callbacks->register_client.callback = registerClient;
    callbacks->interact_request.callback = requestInteraction;
    callbacks->interact_done.callback = [](SmsConn, SmPointer, Bool) {};
    callbacks->save_yourself_request.callback = [](SmsConn, SmPointer, int, Bool, int, Bool, Bool) {};
    callbacks->save_yourself_phase2_request.callback
        = [](SmsConn connection, SmPointer) { SmsSaveYourselfPhase2(connection); };
    callbacks->save_yourself_done.callback = saveDone;
    callbacks->close_connection.callback = closeConnection;
    callbacks->set_properties.callback = setProperties;
    callbacks->delete_properties.callback = [](SmsConn, SmPointer, int, char** names) { std::free(names); };
    callbacks->get_properties.callback
        = [](SmsConn connection, SmPointer) { SmsReturnProperties(connection, 0, nullptr); };
    return 1;
}

}

SessionManager::SessionManager()
{
    session = {};
    std::array<char, 256> error {};
    // Either would end this process when a client is gone before the last word to it.
    IceSetIOErrorHandler([](IceConn) {});
    std::signal(SIGPIPE, SIG_IGN);
    static const bool isInitialized = SmsInitialize("Tests", "1", newClient, nullptr, letEverybodyIn,
                                          static_cast<int>(error.size()), error.data())
        != 0;
    if (!isInitialized
        || !IceListenForConnections(
            &session.listenObjectCount, &session.listenObjects, static_cast<int>(error.size()), error.data()))
        return;
    char* addresses = IceComposeNetworkIdList(session.listenObjectCount, session.listenObjects);
    networkAddress = addresses;
    std::free(addresses);
    for (int i = 0; i < session.listenObjectCount; ++i) {
        IceSetHostBasedAuthProc(session.listenObjects[i], letEverybodyIn);
        const int descriptor = IceGetListenConnectionNumber(session.listenObjects[i]);
        auto& listener
            = listeners.emplace_back(std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read));
        QObject::connect(
            listener.get(), &QSocketNotifier::activated, listener.get(), [this, i] { accept(i); });
    }
}

SessionManager::~SessionManager()
{
    client.reset();
    listeners.clear();
    IceFreeListenObjs(session.listenObjectCount, session.listenObjects);
}

bool SessionManager::hasClient() const { return session.client != nullptr; }

void SessionManager::endSession()
{
    session.isEnding = true;
    SmsSaveYourself(session.client, SmSaveBoth, True, SmInteractStyleAny, False);
}

void SessionManager::endSessionAtOnce() { session.isEnding = true; }

bool SessionManager::wasAskedToInteract() const { return session.wasAskedToInteract; }

std::optional<int> SessionManager::restartStyle() const { return session.restartStyle; }

void SessionManager::accept(int listener)
{
    IceAcceptStatus status = IceAcceptFailure;
    IceConn connection = IceAcceptConnection(session.listenObjects[listener], &status);
    if (!connection)
        return;
    while (IceConnectionStatus(connection) == IceConnectPending)
        IceProcessMessages(connection, nullptr, nullptr);
    client = std::make_unique<QSocketNotifier>(IceConnectionNumber(connection), QSocketNotifier::Read);
    QObject::connect(client.get(), &QSocketNotifier::activated, client.get(), [this, connection] {
        const auto processed = IceProcessMessages(connection, nullptr, nullptr);
        if (processed == IceProcessMessagesSuccess)
            return;
        client->setEnabled(false);
        if (processed == IceProcessMessagesIOError) {
            session.client = nullptr;
            IceCloseConnection(connection);
        }
    });
}
