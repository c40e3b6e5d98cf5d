#pragma once

/// Whether the user of this process is the one who sits at the machine, by what the login manager writes down
/// about its seats. Where people sit at several seats at once it is nobody: nothing tells whose hand is on
/// which keyboard.
bool isActiveUser();
