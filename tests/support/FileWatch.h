#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstdint>

/// Sees what happens to the files of one folder, from the moment it is made.
class FileWatch final {
public:
    /// The events are those of inotify.
    FileWatch(const QString& folder, std::uint32_t events);
    FileWatch(const FileWatch&) = delete;
    FileWatch& operator=(const FileWatch&) = delete;
    ~FileWatch();

    /// Waits until something happens to a file of this name.
    [[nodiscard]] bool await(const QString& name);
    /// The files to which something has happened that no earlier call has told, each once.
    QStringList namesSoFar();

private:
    int descriptor;
};
