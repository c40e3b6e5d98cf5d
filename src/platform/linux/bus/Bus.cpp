#include "platform/linux/bus/Bus.h"

#include "platform/linux/bus/SdBus.h"
#include "support/Debug.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <tuple>

namespace {

using namespace std::chrono_literals;

/// So many messages are served before others of the loop have their turn.
constexpr int mostAtOnce = 64;

/// So many messages wait for a bus that does not read. Signals that come then are not sent: what they tell of
/// is told again with its next change.
constexpr std::uint64_t mostWaiting = 1024;

int receive(sd_bus_message* message, void* received, sd_bus_error*)
{
    // A connection that ends answers every call by itself.
    if (sd_bus_is_open(sd_bus_message_get_bus(message)) <= 0)
        return 0;
    // A copy: the subscription may end from within its call.
    const auto call = *static_cast<std::function<void(sd_bus_message*)>*>(received);
    if (const auto* error = sd_bus_message_get_error(message))
        tellDeveloper(error->message ? error->message : error->name);
    call(message);
    return 0;
}

int nothingToDo(sd_bus_message*, void*, sd_bus_error*) { return 0; }

std::uint64_t microseconds(EventLoop::Clock::duration time)
{
    // No time at all stands for the library's own patience.
    return static_cast<std::uint64_t>(
        std::max<std::int64_t>(1, std::chrono::duration_cast<std::chrono::microseconds>(time).count()));
}

}

bool BusAnswer::isError() const { return sd_bus_message_is_method_error(message.get(), nullptr) > 0; }

bool BusAnswer::isError(const std::string& name) const
{
    return sd_bus_message_is_method_error(message.get(), name.c_str()) > 0;
}

std::string BusAnswer::sender() const
{
    const char* sender = sd_bus_message_get_sender(message.get());
    return sender ? sender : "";
}

BusSubscription::~BusSubscription() { sd_bus_slot_unref(slot); }

Bus::Bus(EventLoop& loop, WellKnown bus)
    : loop(loop)
    , timeout(loop, [this] { serve(); })
{
    start(bus == WellKnown::Session ? sd_bus_open_user(&connection) : sd_bus_open_system(&connection));
}

Bus::Bus(EventLoop& loop, const std::string& address)
    : loop(loop)
    , timeout(loop, [this] { serve(); })
{
    int result = sd_bus_new(&connection);
    if (result >= 0)
        result = sd_bus_set_address(connection, address.c_str());
    if (result >= 0)
        result = sd_bus_set_bus_client(connection, 1);
    if (result >= 0)
        result = sd_bus_start(connection);
    start(result);
}

// Without sending what still waits: a bus that hangs would keep the program from ending.
Bus::~Bus() { sd_bus_close_unref(connection); }

void Bus::start(int result)
{
    if (result >= 0)
        awaitNext();
    else
        connection = sd_bus_close_unref(connection);
}

void Bus::onLost(std::function<void()> lost) { observers.push_back(std::move(lost)); }

BusMessage Bus::message(const BusCall& call) const
{
    sd_bus_message* message = nullptr;
    if (!connection
        || sd_bus_message_new_method_call(connection, &message, call.destination.c_str(), call.path.c_str(),
               call.interface.c_str(), call.member.c_str())
            < 0)
        return {};
    std::ignore = sd_bus_message_set_auto_start(message, call.startsService ? 1 : 0);
    if (call.arguments) {
        BusWriter writer(message);
        call.arguments(writer);
    }
    return BusMessage(message);
}

void Bus::send(const BusCall& call)
{
    const auto question = message(call);
    if (!question)
        return;
    std::ignore = sd_bus_message_set_expect_reply(question.get(), 0);
    std::ignore = sd_bus_send(connection, question.get(), nullptr);
    awaitNext();
}

void Bus::emitSignal(
    const std::string& path, const std::string& interface, const std::string& name, const BusValues& values)
{
    std::uint64_t waiting = 0;
    if (!connection || sd_bus_get_n_queued_write(connection, &waiting) < 0 || waiting >= mostWaiting)
        return;
    sd_bus_message* message = nullptr;
    if (sd_bus_message_new_signal(connection, &message, path.c_str(), interface.c_str(), name.c_str()) < 0)
        return;
    const BusMessage signal(message);
    BusWriter writer(message);
    if (values)
        values(writer);
    std::ignore = sd_bus_send(connection, message, nullptr);
    awaitNext();
}

std::unique_ptr<BusSubscription> Bus::call(
    const BusCall& call, std::function<void(const BusAnswer&)> answered)
{
    auto pending
        = std::make_unique<BusSubscription>([answered = std::move(answered)](sd_bus_message* answer) {
              answered(BusAnswer(BusMessage(sd_bus_message_ref(answer))));
          });
    if (const auto question = message(call)) {
        std::ignore
            = sd_bus_call_async(connection, &pending->slot, question.get(), receive, &pending->received, 0);
        awaitNext();
    }
    return pending;
}

std::optional<BusAnswer> Bus::callAndWait(const BusCall& call, std::chrono::milliseconds patience)
{
    const auto end = EventLoop::Clock::now() + patience;
    const auto question = message(call);
    if (!question || !becomesReady(end))
        return {};
    sd_bus_message* answer = nullptr;
    const int result = sd_bus_call(
        connection, question.get(), microseconds(end - EventLoop::Clock::now()), nullptr, &answer);
    // Others may have come meanwhile.
    awaitNext();
    if (result < 0)
        return {};
    return BusAnswer(BusMessage(answer));
}

std::unique_ptr<BusSubscription> Bus::listen(const BusSignal& signal, std::function<void(BusReader)> received)
{
    auto subscription = std::make_unique<BusSubscription>(
        [sender = signal.sender, received = std::move(received)](sd_bus_message* message) {
            // The library lets everybody through where the sender is no unique name.
            if (const char* actual = sd_bus_message_get_sender(message); actual && actual == sender)
                received(BusReader(message));
        });
    if (!connection)
        return subscription;
    std::string rule = "type='signal',sender='" + signal.sender + "',path='" + signal.path + "',interface='"
        + signal.interface + "',member='" + signal.member + "'";
    if (!signal.firstValue.empty())
        rule += ",arg0='" + signal.firstValue + "'";
    std::ignore = sd_bus_add_match_async(
        connection, &subscription->slot, rule.c_str(), receive, nothingToDo, &subscription->received);
    awaitNext();
    return subscription;
}

// The library's own call waits for that without end.
bool Bus::becomesReady(EventLoop::Clock::time_point end)
{
    while (connection && sd_bus_is_ready(connection) == 0) {
        const int result = sd_bus_process(connection, nullptr);
        if (result < 0) {
            close();
        } else if (result == 0) {
            const auto left = end - EventLoop::Clock::now();
            if (left <= 0ms) {
                awaitNext();
                return false;
            }
            std::ignore = sd_bus_wait(connection, microseconds(left));
        }
    }
    return connection != nullptr;
}

void Bus::serve()
{
    deadline.reset();
    for (int messages = 0; connection && messages < mostAtOnce; ++messages) {
        const int result = sd_bus_process(connection, nullptr);
        if (result == 0)
            break;
        // Something that the bus calls serves the loop meanwhile: the rest comes once it has returned.
        if (result == -EBUSY)
            return;
        if (result < 0)
            close();
    }
    awaitNext();
}

/// Waits in the loop for what the connection waits for.
void Bus::awaitNext()
{
    if (!connection)
        return;
    const int descriptor = sd_bus_get_fd(connection);
    const int events = sd_bus_get_events(connection);
    std::uint64_t next = UINT64_MAX;
    if (descriptor < 0 || events < 0 || sd_bus_get_timeout(connection, &next) < 0) {
        close();
        return;
    }
    // Another one when the first of several addresses could not be reached, which may have the number of the
    // first.
    if (descriptor != watched || sd_bus_is_ready(connection) <= 0) {
        watch.reset();
        watch = std::make_unique<DescriptorWatch>(loop, descriptor, [this] { serve(); });
        watched = descriptor;
    }
    watch->watch(
        (events & POLLOUT) != 0 ? DescriptorWatch::For::ReadingAndWriting : DescriptorWatch::For::Reading);
    if (next == deadline)
        return;
    deadline = next;
    if (next == UINT64_MAX) {
        timeout.stop();
        return;
    }
    const auto left = std::chrono::microseconds(next) - EventLoop::Clock::now().time_since_epoch();
    timeout.start(std::max(0ms, std::chrono::ceil<std::chrono::milliseconds>(left)));
}

void Bus::close()
{
    watch.reset();
    watched = -1;
    timeout.stop();
    connection = sd_bus_close_unref(connection);
    for (const auto& lost : observers)
        loop.callLater(lifetime.guard(lost));
}
