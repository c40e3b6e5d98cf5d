#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/// An application that is installed, as its desktop entry describes it.
struct Application {
    QString name;
    QString iconName;
    /// The command line as it stands in the entry, quotes and placeholders included.
    QString command;
};

/// The applications that open PNG pictures, the user's favorites first.
QList<Application> pictureApplications();

/// The program and its arguments that open the file with the application; empty when the application's
/// command line means nothing.
QStringList commandToOpen(const QString& file, const Application& application);
