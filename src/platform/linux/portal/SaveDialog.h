#pragma once

#include "platform/SavePanel.h"

#include <QCoreApplication>
#include <QDBusConnection>

/// The desktop's own dialog through its portal; where there is none, the toolkit's.
class SaveDialog final : public SavePanel {
public:
    explicit SaveDialog(const QDBusConnection& bus);

    void begin(
        const std::string& proposedName, std::function<void(const std::filesystem::path&)> chosen) override;

private:
    QDBusConnection bus;

    Q_DECLARE_TR_FUNCTIONS(SaveDialog)
};

/// The place with the suffix of a PNG file, unless that would be an existing file which the user has not
/// agreed to replace.
std::filesystem::path withPngSuffix(const std::filesystem::path& chosen);
