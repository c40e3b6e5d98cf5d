#pragma once

#include "platform/linux/bus/BusMessage.h"
#include "platform/linux/process/EventLoop.h"
#include "support/Lifetime.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

struct sd_bus;
struct sd_bus_slot;

/// What a method is called with, or a signal says.
using BusValues = std::function<void(BusWriter&)>;

struct BusCall {
    std::string destination;
    std::string path;
    std::string interface;
    std::string member;
    BusValues arguments = {};
    /// Whether a service that could answer is started.
    bool startsService = false;
};

/// What comes back from a call, also when it is an error.
class BusAnswer final {
public:
    explicit BusAnswer(BusMessage message)
        : message(std::move(message))
    {
    }

    bool isError() const;
    bool isError(const std::string& name) const;
    /// The connection that has answered, by its unique name.
    std::string sender() const;
    BusReader values() const { return BusReader(message.get()); }

private:
    BusMessage message;
};

struct BusSignal {
    /// A unique name, or that of the bus itself: whoever may send to this program can send any signal in the
    /// name of somebody who only has a well-known name.
    std::string sender;
    std::string path;
    std::string interface;
    std::string member;
    /// Only those whose first value is this string; all when it is empty.
    std::string firstValue = {};
};

/// A call whose answer is waited for, or signals that are heard, for as long as it lives.
class BusSubscription final {
public:
    explicit BusSubscription(std::function<void(sd_bus_message*)> received)
        : received(std::move(received))
    {
    }
    BusSubscription(const BusSubscription&) = delete;
    BusSubscription& operator=(const BusSubscription&) = delete;
    ~BusSubscription();

private:
    friend class Bus;

    std::function<void(sd_bus_message*)> received;
    sd_bus_slot* slot = nullptr;
};

/// A connection to a message bus, which the loop serves. One that cannot be reached, or that is lost, is an
/// empty bus, on which everything quietly does nothing; it does not come back. Nothing here waits but
/// `callAndWait`. It may not end within anything that it calls.
class Bus final {
public:
    enum class WellKnown { Session, System };

    /// The loop must outlive it, as it must everything that uses it.
    Bus(EventLoop& loop, WellKnown bus);
    Bus(EventLoop& loop, const std::string& address);
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;
    ~Bus();

    /// Whether there is a connection, or one is being made.
    bool isOpen() const { return connection != nullptr; }
    /// Calls once, when a connection that was there or was being made has ended.
    void onLost(std::function<void()> lost);

    /// Calls without wanting an answer.
    void send(const BusCall& call);
    void emitSignal(const std::string& path, const std::string& interface, const std::string& name,
        const BusValues& values);
    /// Not answered when the connection is lost meanwhile.
    [[nodiscard]] std::unique_ptr<BusSubscription> call(
        const BusCall& call, std::function<void(const BusAnswer&)> answered);
    /// Waits for at most so long, during which the loop serves nothing. Nothing without an answer, and for an
    /// error.
    std::optional<BusAnswer> callAndWait(const BusCall& call, std::chrono::milliseconds patience);
    [[nodiscard]] std::unique_ptr<BusSubscription> listen(
        const BusSignal& signal, std::function<void(BusReader)> received);

private:
    friend class BusObject;

    void start(int result);
    BusMessage message(const BusCall& call) const;
    bool becomesReady(EventLoop::Clock::time_point end);
    void serve();
    void awaitNext();
    void close();

    EventLoop& loop;
    sd_bus* connection = nullptr;
    int watched = -1;
    std::unique_ptr<DescriptorWatch> watch;
    LoopTimer timeout;
    std::optional<std::uint64_t> deadline;
    std::vector<std::function<void()>> observers;
    Lifetime lifetime;
};
