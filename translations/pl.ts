<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pl" sourcelanguage="en">
<context>
    <name>QPlatformTheme</name>
    <message>
        <source>&amp;Yes</source>
        <extracomment>A button of the question. The letter behind &amp; is its key, which must not be the one of &amp;No.</extracomment>
        <translation>&amp;Tak</translation>
    </message>
    <message>
        <source>&amp;No</source>
        <extracomment>A button of the question. The letter behind &amp; is its key, which must not be the one of &amp;Yes.</extracomment>
        <translation>&amp;Nie</translation>
    </message>
</context>
<context>
    <name>Widget</name>
    <message>
        <source>Widget</source>
        <extracomment>The title of the window, which no operator sees: it fills the screen. Keep it as it is.</extracomment>
        <translation>Widget</translation>
    </message>
    <message>
        <source>Operations list</source>
        <extracomment>Above the left list of the first screen. About 340 px at 18 px.</extracomment>
        <translation>Lista operacji</translation>
    </message>
    <message>
        <source>→
←</source>
        <extracomment>Between the two lists: what is tapped in one of them goes to the other. Keep it as it is.</extracomment>
        <translation>→
←</translation>
    </message>
    <message>
        <source>Selected operations</source>
        <extracomment>Above the right list of the first screen. About 340 px at 18 px.
----------
Also the first line of a question, with &quot;will be executed.&quot; as the second: they make one sentence, and have to agree in gender and number.</extracomment>
        <translation>Wybrane operacje</translation>
    </message>
    <message>
        <source>Confirm</source>
        <extracomment>The button below the lists that asks whether the selected operations are to be run. 121 px at 22 px: 110 px and some space beside them, as a longer text has none.</extracomment>
        <translation>Potwierdź</translation>
    </message>
    <message>
        <source>Cancel</source>
        <extracomment>The button below the lists that asks whether to reboot without running anything. 121 px at 22 px: 110 px and some space beside them, as a longer text has none.</extracomment>
        <translation>Anuluj</translation>
    </message>
    <message>
        <source>Please select operation(s) in the list to execute</source>
        <extracomment>The top line of the first screen. 625 px at 18 pt.</extracomment>
        <translation>Wybierz z listy operacje do wykonania</translation>
    </message>
    <message>
        <source>Remaining: </source>
        <extracomment>Followed at once by the time until the controller reboots, such as 04:59; so it ends as a text and a number are parted in your language, mostly with a blank. 100 px at 12 pt, the blank included.</extracomment>
        <translation>Pozostało: </translation>
    </message>
    <message>
        <source>Details</source>
        <extracomment>The round button beside the status table that shows its fourth column, the commands. 121 px at 22 px: 105 px and some space beside them.</extracomment>
        <translation>Szczegóły</translation>
    </message>
    <message>
        <source>Ver2.0.1</source>
        <extracomment>The version, at the bottom of the status screen. Keep it as it is.</extracomment>
        <translation>Ver2.0.1</translation>
    </message>
    <message>
        <source>Attention</source>
        <extracomment>The title of both questions; a frame buffer shows none.</extracomment>
        <translation>Uwaga</translation>
    </message>
    <message>
        <source>will be executed.</source>
        <extracomment>The second line of a question; the first one is &quot;Selected operations&quot;. They make one sentence. 350 px at 18 pt, bold.</extracomment>
        <translation>zostaną wykonane.</translation>
    </message>
    <message>
        <source>Are you sure to continue?</source>
        <extracomment>Below &quot;Selected operations will be executed.&quot;; answered with Yes or No. 350 px at 18 pt, bold.</extracomment>
        <translation>Czy na pewno kontynuować?</translation>
    </message>
    <message>
        <source>Save data</source>
        <extracomment>The name of an operation, as an operator would call it: in the status table&apos;s first column, 194 px at 16 pt, and behind &quot;Executing：&quot;, together 661 px at 28 pt.</extracomment>
        <translation>Zapis danych</translation>
    </message>
    <message>
        <source>Reboot system</source>
        <extracomment>The name of an operation, as an operator would call it: in the status table&apos;s first column, 194 px at 16 pt, and behind &quot;Executing：&quot;, together 661 px at 28 pt.</extracomment>
        <translation>Restart systemu</translation>
    </message>
    <message>
        <source>Are you sure to abort?</source>
        <extracomment>The first line of a question, asked after a tap on Cancel; answered with Yes or No. 350 px at 18 pt, bold.</extracomment>
        <translation>Czy na pewno przerwać?</translation>
    </message>
    <message>
        <source>System will reboot.</source>
        <extracomment>Below &quot;Are you sure to abort?&quot;: what Yes does. 350 px at 18 pt, bold.</extracomment>
        <translation>System uruchomi się ponownie.</translation>
    </message>
    <message>
        <source>Executing：</source>
        <extracomment>Followed at once by the name of an operation, or by nothing between two of them; so it ends as two words are parted in your language, mostly with a blank. Together 661 px at 28 pt.</extracomment>
        <translation>Wykonywanie: </translation>
    </message>
    <message>
        <source>Operation completed，please unplug SD card！</source>
        <extracomment>Asks for an SD card to be taken out when everything has run. The line has 661 px at 28 pt.</extracomment>
        <translation>Gotowe, wyjmij kartę SD!</translation>
    </message>
    <message>
        <source>Operation completed，please unplug USB drive！</source>
        <extracomment>Asks for a USB drive to be taken out when everything has run. The line has 661 px at 28 pt.</extracomment>
        <translation>Gotowe, odłącz pamięć USB!</translation>
    </message>
    <message>
        <source>Operation completed，please unplug storage device！</source>
        <extracomment>Asks for any other medium to be taken out when everything has run. The line has 661 px at 28 pt.</extracomment>
        <translation>Gotowe, odłącz nośnik danych!</translation>
    </message>
    <message>
        <source>Not executed</source>
        <extracomment>Status table, second column: the state of an operation, with which it agrees. 144 px at 16 pt.</extracomment>
        <translation>Niewykonana</translation>
    </message>
    <message>
        <source>Executing</source>
        <extracomment>Status table, second column: the state of an operation, with which it agrees. 144 px at 16 pt.</extracomment>
        <translation>W toku</translation>
    </message>
    <message>
        <source>Completed</source>
        <extracomment>Status table, second column: the state of an operation, with which it agrees. 144 px at 16 pt.</extracomment>
        <translation>Zakończona</translation>
    </message>
    <message>
        <source>Succeed</source>
        <extracomment>Status table, third column: how an operation has ended, with which it agrees. 144 px at 16 pt.</extracomment>
        <translation>Udana</translation>
    </message>
    <message>
        <source>Failed</source>
        <extracomment>Status table, third column: how an operation has ended, with which it agrees. 144 px at 16 pt.</extracomment>
        <translation>Nieudana</translation>
    </message>
    <message>
        <source>Operation</source>
        <extracomment>Status table, heading of the fourth column: the command of an operation. The form hides the headings. 254 px at 16 pt.</extracomment>
        <translation>Operacja</translation>
    </message>
    <message>
        <source>Name</source>
        <extracomment>Status table, heading of the first column: the name of an operation. The form hides the headings. 194 px at 16 pt.</extracomment>
        <translation>Nazwa</translation>
    </message>
    <message>
        <source>Status</source>
        <extracomment>Status table, heading of the second column: the state of an operation. The form hides the headings. 144 px at 16 pt.</extracomment>
        <translation>Stan</translation>
    </message>
    <message>
        <source>Succeed?</source>
        <extracomment>Status table, heading of the third column: &quot;Succeed&quot; or &quot;Failed&quot;. The form hides the headings. 144 px at 16 pt.</extracomment>
        <translation>Udana?</translation>
    </message>
</context>
</TS>
