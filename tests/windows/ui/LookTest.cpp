#include "windows/ui/Look.h"

#include "support/Contrast.h"
#include "support/TestArea.h"

#include <QApplication>
#include <QPalette>
#include <QTest>

/// The colors that the program gives the toolkit, which draws some dialogs and menus of its own.
class LookTest final : public QObject {
    Q_OBJECT

private slots:
    void cleanup() { applyLook(ColorScheme::Light, Motion::Full); }

    void everyColorIsOpaque_data() { schemes(); }
    void everyColorIsOpaque();
    void everyTextStandsOutFromItsGround_data() { schemes(); }
    void everyTextStandsOutFromItsGround();
    void whatIsDisabledIsFainter_data() { schemes(); }
    void whatIsDisabledIsFainter();
    void theUsersAccentMarksWhatIsChosen();
    void withoutAnAccentOfTheUsersItIsTheDesktops();

private:
    static void schemes();
};

void LookTest::schemes()
{
    QTest::addColumn<ColorScheme>("scheme");

    QTest::newRow("light") << ColorScheme::Light;
    QTest::newRow("dark") << ColorScheme::Dark;
}

// The toolkit's style drops what a color has of transparency: a faint white would be white.
void LookTest::everyColorIsOpaque()
{
    QFETCH(const ColorScheme, scheme);

    applyLook(scheme, Motion::Full);

    const auto palette = QApplication::palette();
    for (int group = 0; group < QPalette::NColorGroups; ++group) {
        for (int role = 0; role < QPalette::NColorRoles; ++role) {
            const auto color = palette.color(
                static_cast<QPalette::ColorGroup>(group), static_cast<QPalette::ColorRole>(role));
            QVERIFY2(role == QPalette::NoRole || color.alpha() == 255,
                qPrintable(QString("role %1 in group %2: %3").arg(role).arg(group).arg(color.alpha())));
        }
    }
}

void LookTest::everyTextStandsOutFromItsGround()
{
    QFETCH(const ColorScheme, scheme);

    applyLook(scheme, Motion::Full);

    const auto palette = QApplication::palette();
    const auto found = [&](QPalette::ColorRole text, QPalette::ColorRole ground) {
        return contrast(palette.color(text), palette.color(ground));
    };
    QCOMPARE_GE(found(QPalette::WindowText, QPalette::Window), 4.5);
    QCOMPARE_GE(found(QPalette::ButtonText, QPalette::Button), 4.5);
    QCOMPARE_GE(found(QPalette::ButtonText, QPalette::Midlight), 4.5);
    QCOMPARE_GE(found(QPalette::Text, QPalette::Base), 4.5);
    QCOMPARE_GE(found(QPalette::Text, QPalette::AlternateBase), 4.5);
    QCOMPARE_GE(found(QPalette::ToolTipText, QPalette::ToolTipBase), 4.5);
}

void LookTest::whatIsDisabledIsFainter()
{
    QFETCH(const ColorScheme, scheme);

    applyLook(scheme, Motion::Full);

    const auto palette = QApplication::palette();
    const auto found = [&](QPalette::ColorGroup group) {
        return contrast(palette.color(group, QPalette::ButtonText), palette.color(group, QPalette::Button));
    };
    QCOMPARE_LE(found(QPalette::Disabled), found(QPalette::Active) / 2);
    QCOMPARE_GE(found(QPalette::Disabled), 2.0);
}

void LookTest::theUsersAccentMarksWhatIsChosen()
{
    applyLook(ColorScheme::Light, Motion::Full, AccentColor { .red = 1, .green = 0.2, .blue = 0.6 });

    QCOMPARE(QApplication::palette().color(QPalette::Highlight), QColor::fromRgbF(1, 0.2F, 0.6F));
    QCOMPARE(QApplication::palette().color(QPalette::HighlightedText), QColor(Qt::white));
}

void LookTest::withoutAnAccentOfTheUsersItIsTheDesktops()
{
    applyLook(ColorScheme::Light, Motion::Full);
    const auto desktops = QApplication::palette().color(QPalette::Highlight);

    applyLook(ColorScheme::Light, Motion::Full, AccentColor { .red = 1, .green = 0.95, .blue = 0.8 });
    const auto onUsers = QApplication::palette().color(QPalette::HighlightedText);
    applyLook(ColorScheme::Light, Motion::Full);

    // On so light a color.
    QCOMPARE(onUsers, QColor(Qt::black));
    QCOMPARE(QApplication::palette().color(QPalette::Highlight), desktops);
}

static const TestArea area("Look", runTest<LookTest, QApplication>);
#include "LookTest.moc"
