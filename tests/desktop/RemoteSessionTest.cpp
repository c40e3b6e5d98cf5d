#include "support/KeyWitness.h"
#include "support/Patience.h"
#include "support/RemoteHands.h"
#include "support/RunningKnucklet.h"
#include "support/SavedCounts.h"
#include "support/TestArea.h"
#include "support/VirtualDesktop.h"

#include <QTest>

#include <csignal>

namespace {

/// Keysyms of <X11/keysymdef.h>.
constexpr std::uint32_t keysymA = 'a';
constexpr std::uint32_t keysymB = 'b';

}

/// The program in a session that somebody uses from another machine, on a real VNC server.
class RemoteSessionTest final : public QObject {
    Q_OBJECT

private slots:
    void aHeldKeyThatTheServerPressesAgainAndAgainCountsOnce();
};

void RemoteSessionTest::aHeldKeyThatTheServerPressesAgainAndAgainCountsOnce()
{
    VirtualDesktop desktop({ .isRemote = true });
    QVERIFY2(desktop.start(), qPrintable(desktop.failure()));
    writeSettingsFile(desktop, "[General]\nhasCompletedOnboarding=true\n");
    RemoteHands hands;
    QVERIFY(hands.connectTo(desktop.remoteSocket()));
    KeyWitness witness(desktop.display());
    RunningKnucklet knucklet(desktop, QStringLiteral(KNUCKLET_PROGRAM));
    QVERIFY(knucklet.awaitCounting());

    // As the keyboard of the other machine repeats them: presses, and one release.
    for (const auto keysym : { keysymA, keysymB, keysymA }) {
        for (int repeat = 0; repeat < 21; ++repeat)
            hands.pressKey(keysym);
        hands.releaseKey(keysym);
    }
    QVERIFY(hands.sync());
    QTRY_COMPARE(witness.presses(), 63);
    QVERIFY(knucklet.end(SIGTERM));

    QCOMPARE(savedCounts(desktop).keys, 3);
}

static const TestArea area("RemoteSession", runTest<RemoteSessionTest>);
#include "RemoteSessionTest.moc"
