#include "support/Observers.h"

#include "support/TestArea.h"

#include <QTest>

#include <array>
#include <optional>
#include <string>
#include <vector>

class ObserversTest final : public QObject {
    Q_OBJECT

private slots:
    void observersMayComeAndGoWhileTheyAreCalled();
    void everybodyIsToldOfAChangeWithinACall();
    void anObserverMayOutliveWhatItObserves();
};

void ObserversTest::observersMayComeAndGoWhileTheyAreCalled()
{
    Observers observers;
    std::string called;
    std::array<Observers::Subscription, 3> kept;
    std::vector<Observers::Subscription> added;
    kept[0] = observers.add([&] {
        called += 'a';
        kept[0].reset();
        kept[1].reset();
        // More than the list has room for.
        for (int i = 0; i < 100; ++i)
            added.push_back(observers.add([&] { called += '.'; }));
    });
    kept[1] = observers.add([&] { called += 'b'; });
    kept[2] = observers.add([&] { called += 'c'; });

    observers.notify();
    QCOMPARE(called, "ac" + std::string(100, '.'));
    called.clear();
    observers.notify();

    QCOMPARE(called, "c" + std::string(100, '.'));
}

void ObserversTest::everybodyIsToldOfAChangeWithinACall()
{
    Observers observers;
    int value = 0;
    std::array<int, 4> seen {};
    std::array<Observers::Subscription, 4> kept;
    kept[0] = observers.add([&] {
        seen[0] = value;
        kept[0].reset();
    });
    kept[1] = observers.add([&] {
        seen[1] = value;
        if (value == 1) {
            value = 2;
            observers.notify();
        }
    });
    kept[2] = observers.add([&] { seen[2] = value; });
    kept[3] = observers.add([&] { seen[3] = value; });

    value = 1;
    observers.notify();

    QCOMPARE(seen, (std::array { 1, 2, 2, 2 }));
}

void ObserversTest::anObserverMayOutliveWhatItObserves()
{
    std::optional<Observers> observers(std::in_place);
    int calls = 0;
    auto kept = observers->add([&] { ++calls; });

    observers->notify();
    observers.reset();
    kept.reset();

    QCOMPARE(calls, 1);
}

static const TestArea area("Observers", runTest<ObserversTest>);
#include "ObserversTest.moc"
