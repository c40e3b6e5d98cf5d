#pragma once

#include <QString>

class ListenAccess;

/// What the user is told to type where nothing can ask for the right to count; empty where it can be asked
/// for.
QString grantHint(ListenAccess& access);
