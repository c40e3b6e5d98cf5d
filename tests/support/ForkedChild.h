#pragma once

#include <functional>
#include <string>

/// What became of a forked child.
struct ChildEnd {
    /// The signal that ended it; 0 when it ended otherwise.
    int signal = 0;
    /// What its function gave back; empty when the child did not come to its end.
    std::string answer;
};

enum class RunAs {
    SameUser,
    /// The child gives up root, for which no file is read-only.
    OrdinaryUser,
};

/// Runs the function in a forked child: for what ends a process, and for what must not touch the test's own.
/// The child has the test's memory as it is now, and none of its threads.
ChildEnd inChild(const std::function<std::string()>& function, RunAs runAs = RunAs::SameUser);

/// Lets the user that `RunAs::OrdinaryUser` stands for work in the folder.
void giveToOrdinaryUser(const std::string& folder);
