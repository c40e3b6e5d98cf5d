#pragma once

#include <QImage>
#include <QString>

/// Whether the picture looks like `tests/golden/<name>.png`. Letters are drawn a little differently from one
/// machine to the next, so it is the average color of each square of 8 by 8 pixels that counts: no channel of
/// it may differ by more than `tolerance` of 255. The sizes must be the same. What does not match is left
/// beside the test program, to be looked at.
///
/// With KNUCKLET_UPDATE_GOLDEN set, the picture becomes the new reference.
bool looksLikeGolden(const QImage& picture, const QString& name, double tolerance = 3);
