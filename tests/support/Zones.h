#pragma once

#include "platform/Clock.h"

#include <string>
#include <vector>

/// Puts the process into a zone, in any form that TZ may have.
void setZone(const std::string& zone);

/// The same without a word to the C library, as when the machine's zone changes.
void changeZone(const std::string& zone);

/// The names of all zones that the machine has, without those that are merely another name of one.
std::vector<std::string> zones();

/// The moments at which the clock of the process's zone changes from 2000 to 2037.
std::vector<Moment> clockChanges();
