#pragma once

#include <string>

/// The right to observe key presses of other programs, which the user grants once ("Input Monitoring").
class ListenAccess {
public:
    virtual ~ListenAccess() = default;

    /// Whether the right is granted. Never prompts and is cheap enough to ask every two seconds.
    virtual bool preflight() = 0;
    /// Asks the user for the right. Returns without waiting for an answer; `preflight` tells it.
    virtual void request() = 0;
    /// What the user types in a terminal to grant the right where nothing could ask for it; empty where
    /// `request` is all it takes.
    virtual std::string commandToGrant() = 0;
};
