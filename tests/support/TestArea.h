#pragma once

#include <QCoreApplication>
#include <QTest>

/// A test among those of one program, which runs it when it is called with this name before the options of Qt
/// Test: `model-tests StatsStore -v2`. A run is one of a single area, as if that were a program of its own.
class TestArea final {
public:
    using Run = int (*)(int argc, char* argv[]);

    /// `name` is kept as it is handed over.
    TestArea(const char* name, Run run);
};

/// Runs the test in an application of its kind: one with windows needs `QApplication`.
template <typename Test, typename Application = QCoreApplication>
int runTest(int argc, char* argv[])
{
    const Application application(argc, argv);
    QCoreApplication::setAttribute(Qt::AA_Use96Dpi);
    Test test;
    return QTest::qExec(&test, argc, argv);
}
