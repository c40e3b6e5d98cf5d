#pragma once

/// Has the environment say the user's language and region, which the program reads there: an application
/// that the system starts has no such environment. What a terminal says instead stays.
void adoptUserLanguage();
