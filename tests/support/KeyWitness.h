#pragma once

#include "platform/linux/Xcb.h"

#include <QByteArrayList>

/// Another program that receives what the X server tells of each key.
class KeyWitness final {
public:
    explicit KeyWitness(const QByteArray& display);

    /// How many presses there have been so far.
    int presses();
    /// Of each key that was pressed the bytes that name it, and what follows in the same piece. What stands
    /// before them is the first to be lost in memory that was freed.
    QByteArrayList keys() const { return seen; }

private:
    XcbConnection connection;
    QByteArrayList seen;
    int count = 0;
};
