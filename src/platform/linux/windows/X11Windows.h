#pragma once

#include "platform/PanelHost.h"

#include <QByteArray>
#include <QRect>

#include <optional>

/// What is asked of an X server and its window manager about windows, on the toolkit's own connection.
/// Nothing happens, and nothing is found, where the program does not run on an X server.

/// Keeps a window above others and out of task bars and pagers. Before it is shown: the window manager reads
/// this when the window comes up.
void keepAboveAndOutOfLists(NativeWindow window);

/// Whether the window manager says that this window has the keyboard.
bool isActive(NativeWindow window);

/// Whether the pointer is over a window of this process.
bool isPointerOverOwnWindow();

/// What is left of a screen without the bars along its edges; in pixels, as is the screen.
QRect withoutBars(const QRect& screen);

/// What the window manager leaves free of all screens taken together, in pixels; nothing where it does not
/// say.
std::optional<QRect> freeForWindowManager();

/// How many pixels the session has to a point now, as it tells every program, those that are running
/// included; nothing where it does not say.
std::optional<qreal> scaleOfSession();

/// Tells the desktop that what it has begun under this id of the startup-notification protocol is done. Until
/// then it shows a busy pointer.
void endStartup(const QByteArray& id);
