#include "platform/linux/windows/Clipboard.h"

#include <QByteArray>
#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

#include <memory>

void Clipboard::setPicture(std::string_view png)
{
    auto content = std::make_unique<QMimeData>();
    content->setData("image/png", QByteArray(png.data(), static_cast<qsizetype>(png.size())));
    QGuiApplication::clipboard()->setMimeData(content.release());
}
