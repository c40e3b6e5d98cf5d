#pragma once

#include <QString>

/// Shows a file in the program that the user has chosen for its kind: through the desktop portal, else by the
/// desktop's own opener. Returns at once; nobody learns whether it worked.
void openFile(const QString& path);
