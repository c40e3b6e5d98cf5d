#include "platform/linux/input/CountedKeys.h"

#include "support/TestArea.h"

#include <QTest>

#include <X11/XF86keysym.h>
#include <X11/keysym.h>

#include <array>

class CountedKeysTest : public QObject {
    Q_OBJECT

private slots:
    void aKeyCountsByTheSymbolItProducesAlone_data();
    void aKeyCountsByTheSymbolItProducesAlone();
    void onlyTheSymbolWithoutModifiersMatters();
    void aKeyInTheModifierMapDoesNotCountWhateverItsSymbol();
    void anEmptyKeyboardLeavesEveryKeyCounting();
    void aKeyboardWithoutSymbolsLeavesEveryKeyCounting();
    void ofMoreKeysThanThereAreCodesTheRestIsLeftOut();
};

void CountedKeysTest::aKeyCountsByTheSymbolItProducesAlone_data()
{
    QTest::addColumn<std::uint32_t>("symbol");
    QTest::addColumn<bool>("counts");
    const auto row = [](const char* name, std::uint32_t symbol, bool counts) {
        QTest::newRow(name) << symbol << counts;
    };

    row("letter", XK_a, true);
    row("digit", XK_7, true);
    row("space", XK_space, true);
    row("letter of another script", XK_Cyrillic_ya, true);
    row("letter given by its code point", 0x1000000 + 0x0905, true);
    row("dead accent", XK_dead_acute, true);
    row("Compose", XK_Multi_key, true);
    row("Return", XK_Return, true);
    row("Backspace", XK_BackSpace, true);
    row("Tab", XK_Tab, true);
    row("Tab backwards", XK_ISO_Left_Tab, true);
    row("Escape", XK_Escape, true);
    row("Delete", XK_Delete, true);
    row("cursor left", XK_Left, true);
    row("Home", XK_Home, true);
    row("Page Down", XK_Next, true);
    row("F1", XK_F1, true);
    row("F35", XK_F35, true);
    row("keypad digit", XK_KP_7, true);
    row("keypad Home", XK_KP_Home, true);
    row("keypad Enter", XK_KP_Enter, true);
    row("Print Screen", XK_Print, true);
    row("Pause", XK_Pause, true);
    row("Menu", XK_Menu, true);
    row("Henkan", XK_Henkan_Mode, true);
    row("Muhenkan", XK_Muhenkan, true);
    row("Hiragana/Katakana", XK_Hiragana_Katakana, true);
    row("Zenkaku/Hankaku", XK_Zenkaku_Hankaku, true);
    row("Hangul", XK_Hangul, true);
    row("no symbol", XK_VoidSymbol, true);
    row("symbol missing", 0, true);
    row("just before Shift", XK_Shift_L - 1, true);
    row("just after Hyper", XK_Hyper_R + 1, true);
    row("just before the machine controls", 0x10080000, true);
    row("just after the machine controls", 0x10090000, true);

    row("F13", XF86XK_Tools, true);
    row("F14", XF86XK_Launch5, true);
    row("F19", XK_F19, true);
    row("F24", XK_F24, true);
    row("calculator", XF86XK_Calculator, true);
    row("browser back", XF86XK_Back, true);
    row("browser forward", XF86XK_Forward, true);
    row("Copy", XF86XK_Copy, true);
    row("Paste", XF86XK_Paste, true);

    row("left Shift", XK_Shift_L, false);
    row("right Shift", XK_Shift_R, false);
    row("left Control", XK_Control_L, false);
    row("right Control", XK_Control_R, false);
    row("left Alt", XK_Alt_L, false);
    row("right Alt", XK_Alt_R, false);
    row("left Meta", XK_Meta_L, false);
    row("right Meta", XK_Meta_R, false);
    row("left Super", XK_Super_L, false);
    row("right Super", XK_Super_R, false);
    row("left Hyper", XK_Hyper_L, false);
    row("right Hyper", XK_Hyper_R, false);
    row("AltGr", XK_ISO_Level3_Shift, false);
    row("AltGr latch", XK_ISO_Level3_Latch, false);
    row("AltGr lock", XK_ISO_Level3_Lock, false);
    row("fifth level", XK_ISO_Level5_Shift, false);
    row("fifth level latch", XK_ISO_Level5_Latch, false);
    row("fifth level lock", XK_ISO_Level5_Lock, false);
    row("second level latch", XK_ISO_Level2_Latch, false);
    row("ISO lock", XK_ISO_Lock, false);
    row("next layout", XK_ISO_Next_Group, false);
    row("last layout", XK_ISO_Last_Group_Lock, false);
    row("Mode switch", XK_Mode_switch, false);
    row("Caps Lock", XK_Caps_Lock, false);
    row("Shift Lock", XK_Shift_Lock, false);
    row("Num Lock", XK_Num_Lock, false);
    row("Scroll Lock", XK_Scroll_Lock, false);
    row("Kana Lock", XK_Kana_Lock, false);
    row("Kana Shift", XK_Kana_Shift, false);
    row("Eisu Shift", XK_Eisu_Shift, false);

    row("volume up", XF86XK_AudioRaiseVolume, false);
    row("volume down", XF86XK_AudioLowerVolume, false);
    row("mute", XF86XK_AudioMute, false);
    row("microphone mute", XF86XK_AudioMicMute, false);
    row("play", XF86XK_AudioPlay, false);
    row("pause playing", XF86XK_AudioPause, false);
    row("next track", XF86XK_AudioNext, false);
    row("eject", XF86XK_Eject, false);
    row("brightness up", XF86XK_MonBrightnessUp, false);
    row("brightness down", XF86XK_MonBrightnessDown, false);
    row("keyboard light", XF86XK_KbdBrightnessUp, false);
    row("power off", XF86XK_PowerOff, false);
    row("sleep", XF86XK_Sleep, false);
    row("suspend", XF86XK_Suspend, false);
    row("lock screen", XF86XK_ScreenSaver, false);
    row("flight mode", XF86XK_RFKill, false);
    row("touchpad", XF86XK_TouchpadToggle, false);
    row("touchpad on", XF86XK_TouchpadOn, false);
    row("switch to the second console", XF86XK_Switch_VT_2, false);
    row("control named by the kernel", 0x10081000 + 0x0F4, false);
    row("first machine control", 0x10080001, false);
    row("last machine control", 0x1008FFFF, false);
}

void CountedKeysTest::aKeyCountsByTheSymbolItProducesAlone()
{
    QFETCH(std::uint32_t, symbol);

    const bool counted = countsAsKey(symbol);

    QTEST(counted, "counts");
}

void CountedKeysTest::onlyTheSymbolWithoutModifiersMatters()
{
    // Ctrl+Alt+F1 switches consoles, Shift+Alt is Meta: neither makes its key silent.
    const std::array<std::uint32_t, 6> symbols { XK_F1, XF86XK_Switch_VT_1, XK_a, XK_Shift_L, XK_Shift_L,
        XK_a };

    const KeyCodes uncounted = uncountedKeys({}, 8, symbols, 2);

    QVERIFY(!uncounted[8]);
    QVERIFY(!uncounted[9]);
    QVERIFY(uncounted[10]);
    QCOMPARE(uncounted.count(), std::size_t { 1 });
}

void CountedKeysTest::aKeyInTheModifierMapDoesNotCountWhateverItsSymbol()
{
    const std::array<std::uint8_t, 3> modifiers { 255, 9, 0 };
    const std::array<std::uint32_t, 3> symbols { XK_a, XK_b, XK_c };

    const KeyCodes uncounted = uncountedKeys(modifiers, 8, symbols, 1);

    QVERIFY(!uncounted[8]);
    QVERIFY(uncounted[9]);
    QVERIFY(!uncounted[10]);
    QVERIFY(uncounted[255]);
}

void CountedKeysTest::anEmptyKeyboardLeavesEveryKeyCounting()
{
    const KeyCodes uncounted = uncountedKeys({}, 8, {}, 0);

    QVERIFY(uncounted.none());
}

void CountedKeysTest::aKeyboardWithoutSymbolsLeavesEveryKeyCounting()
{
    const std::array<std::uint32_t, 2> symbols { XK_Shift_L, XK_Shift_R };

    const KeyCodes uncounted = uncountedKeys({}, 8, symbols, 0);

    QVERIFY(uncounted.none());
}

void CountedKeysTest::ofMoreKeysThanThereAreCodesTheRestIsLeftOut()
{
    std::array<std::uint32_t, 1000> symbols;
    symbols.fill(XK_Shift_L);

    const KeyCodes uncounted = uncountedKeys({}, 8, symbols, 1);

    QCOMPARE(uncounted.count(), std::size_t { 248 });
}

static const TestArea area("CountedKeys", runTest<CountedKeysTest>);

#include "CountedKeysTest.moc"
