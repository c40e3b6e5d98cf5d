#include "platform/linux/Session.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <cstdlib>
#include <string_view>

namespace {

std::string_view environment(const char* variable)
{
    const char* value = std::getenv(variable);
    return value ? value : "";
}

}

bool isWaylandSession()
{
    return environment("XDG_SESSION_TYPE") == "wayland" || !environment("WAYLAND_DISPLAY").empty();
}

QString libexecProgram(const QString& name)
{
    const QDir program = QCoreApplication::applicationDirPath();
    const QString installed = program.filePath(KNUCKLET_LIBEXEC "/" + name);
    return QDir::cleanPath(QFileInfo::exists(installed) ? installed : program.filePath("libexec/" + name));
}
