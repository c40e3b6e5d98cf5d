#pragma once

#include <string>
#include <vector>

// The system calls of a test program that is linked with knucklet_wrap_system_calls(), one of which can be
// made to fail. Only calls of our own code are watched, not those of the libraries it uses.

/// What to do to which call. Calls are numbered from 0, from the moment that the fault is planted.
struct Fault {
    enum class Kind {
        /// It does nothing and fails.
        Fails,
        /// This one and every later one, of whatever kind, do nothing and fail.
        FailsFromThenOn,
        /// A write or read takes only a part.
        IsShort,
        /// `stat` says that the file is a device.
        IsDevice,
    };

    std::size_t call = 0;
    Kind kind = Kind::Fails;
    int error = 0;
};

/// Watches the calls from its making to its end and does to them what the faults say.
class FaultyCalls final {
public:
    FaultyCalls();
    explicit FaultyCalls(const Fault& fault);
    FaultyCalls(const Fault& fault, const Fault& another);
    FaultyCalls(const FaultyCalls&) = delete;
    FaultyCalls& operator=(const FaultyCalls&) = delete;
    ~FaultyCalls();

    /// The names of the calls so far, in their order.
    std::vector<std::string> names() const;
    /// How many descriptors were opened and not closed.
    int openDescriptors() const;
};
