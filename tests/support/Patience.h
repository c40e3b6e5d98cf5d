#pragma once

#include <QDeadlineTimer>
#include <QTest>

/// How long a test waits for what it expects, in milliseconds. The limit is for what hangs, not for what is
/// slow: on a busy machine a desktop may need a minute for what otherwise takes an instant.
constexpr int patience = 300000;

// QTRY_VERIFY and its like wait that long, whatever time they are given. Qt's own give up after five seconds,
// and those of Qt 6.8 lose precision in a way that the compiler warns of at each of their uses.
#undef QTRY_IMPL
#define QTRY_IMPL(expr, timeout)                                                                          \
    for (const QDeadlineTimer qtryDeadline(patience);                                                     \
         !(expr) && !qtryDeadline.hasExpired() && !(QTest::runningTest() && QTest::currentTestFailed());) \
        QTest::qWait(50);
