#include "windows/GrantHint.h"

#include "platform/ListenAccess.h"

#include <QCoreApplication>

QString grantHint(ListenAccess& access)
{
    const auto command = QString::fromStdString(access.commandToGrant());
    if (command.isEmpty())
        return {};
    return QCoreApplication::translate(
        "GrantHint", "Nothing here can ask for your password. Type this in a terminal instead:\n%1")
        .arg(command);
}
