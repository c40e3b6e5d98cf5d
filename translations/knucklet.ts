<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" sourcelanguage="en">
<context>
    <name>DonePage</name>
    <message>
        <source>You&apos;re counting!</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Knucklet lives in your menu bar — click the keyboard icon anytime for today&apos;s tally and your 7-day chart.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show live counts next to the menu bar icon</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Launch Knucklet at login</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>GrantHint</name>
    <message>
        <source>Nothing here can ask for your password. Type this in a terminal instead:
%1</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>KnuckletApp</name>
    <message>
        <source>Open Knucklet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Setup Assistant…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit Knucklet</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>OnboardingView</name>
    <message>
        <source>Page %1 of %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Back</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Finish</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Get Started</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Continue</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>PermissionPage</name>
    <message>
        <source>One permission</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>macOS requires the **Input Monitoring** permission before any app may observe key presses — even just to count them. Clicks are already being counted without it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Key counting is on</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>You&apos;re all set — keys and clicks are both being counted.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Almost there</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Access is granted, but macOS needs Knucklet to relaunch before key counting starts.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Relaunch Knucklet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Waiting for permission</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>System Settings will open on Privacy &amp; Security → Input Monitoring. Turn on Knucklet, then come back here — this page updates by itself.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Input Monitoring settings…</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>PrivacyPage</name>
    <message>
        <source>Counts, not keys</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SaveDialog</name>
    <message>
        <source>Save PNG</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>PNG image</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ShareCardPreview</name>
    <message>
        <source>%1: %2 keys · %3 clicks</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save PNG</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Share</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Knucklet day card</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ShareCardView</name>
    <message>
        <source>KNUCKLET</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>★ Best day yet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>my fingers did the work · Knucklet for Mac</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ShareCardWindowController</name>
    <message>
        <source>Day Card</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ShareChooser</name>
    <message>
        <source>E-mail…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No application opens pictures</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>StatsView</name>
    <message>
        <source>Knucklet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Share a day card</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keyboard counting is off</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Grant Input Monitoring so Knucklet can count key presses. It only counts — which keys you press is never read or stored. Clicks are already being counted.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Grant access…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Access granted — quit and reopen Knucklet to start counting keys.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>All time</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 keys · %2 clicks</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Best day</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 on %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show counts in menu bar</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Launch at login</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Setup Assistant…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit Knucklet</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>UtilityWindow</name>
    <message>
        <source>Close</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>WeekChart</name>
    <message>
        <source>%1 keys · %2 clicks</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>WelcomePage</name>
    <message>
        <source>Welcome to Knucklet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Every key you press, every click you make — counted.
See how much your fingers work each day.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
