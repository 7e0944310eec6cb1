<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>kest::desktop::DetailsPane</name>
    <message>
        <source>About the selected extension</source>
        <translation>Über die gewählte Erweiterung</translation>
    </message>
    <message>
        <source>Version %1, %2</source>
        <translation>Version %1, %2</translation>
    </message>
    <message>
        <source>, by %1</source>
        <translation>, von %1</translation>
    </message>
    <message>
        <source>. Switched off: its files are set aside.</source>
        <translation>. Ausgeschaltet: ihre Dateien sind beiseitegelegt.</translation>
    </message>
    <message>
        <source>All of it is as its install left it.</source>
        <translation>Alles ist so, wie es installiert wurde.</translation>
    </message>
    <message>
        <source>Not as its install left it</source>
        <translation>Nicht so, wie es installiert wurde</translation>
    </message>
    <message>
        <source>What it changes</source>
        <translation>Was sie ändert</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Dateien</translation>
    </message>
</context>
<context>
    <name>kest::desktop::EngineRoom</name>
    <message>
        <source>There is no description (.kei) in it.</source>
        <translation>Es ist keine Beschreibung (.kei) darin.</translation>
    </message>
    <message>
        <source>you will be asked</source>
        <translation>Sie werden gefragt</translation>
    </message>
    <message>
        <source>The file is not there.</source>
        <translation>Die Datei ist nicht da.</translation>
    </message>
    <message>
        <source>line %1: %2</source>
        <translation>Zeile %1: %2</translation>
    </message>
    <message>
        <source>No machine folder has been chosen yet.</source>
        <translation>Es ist noch kein Maschinenordner gewählt.</translation>
    </message>
    <message>
        <source>The folder %1 does not exist.</source>
        <translation>Der Ordner %1 existiert nicht.</translation>
    </message>
    <message>
        <source>The folder %1 cannot be opened: %2.</source>
        <translation>Der Ordner %1 kann nicht geöffnet werden: %2.</translation>
    </message>
    <message>
        <source>The folder %1 is no machine: there is no drive_c in it.</source>
        <translation>Der Ordner %1 ist keine Maschine: es ist kein drive_c darin.</translation>
    </message>
</context>
<context>
    <name>kest::desktop::ExtensionModel</name>
    <message>
        <source>%1, on</source>
        <translation>%1, eingeschaltet</translation>
    </message>
    <message>
        <source>%1, off</source>
        <translation>%1, ausgeschaltet</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Art</translation>
    </message>
    <message>
        <source>Author</source>
        <translation>Autor</translation>
    </message>
</context>
<context>
    <name>Facts</name>
    <message>
        <source>another extension uses it</source>
        <translation>eine andere Erweiterung verwendet sie</translation>
    </message>
    <message>
        <source>“%1” uses it</source>
        <translation>„%1“ verwendet sie</translation>
    </message>
    <message>
        <source>a font</source>
        <translation>eine Schrift</translation>
    </message>
    <message>
        <source>a system file</source>
        <translation>eine Systemdatei</translation>
    </message>
    <message>
        <source>kept as you answered</source>
        <translation>behalten, wie Sie geantwortet haben</translation>
    </message>
    <message>
        <source>new</source>
        <translation>neu</translation>
    </message>
    <message>
        <source>gone</source>
        <translation>entfernt</translation>
    </message>
    <message>
        <source>moved</source>
        <translation>verschoben</translation>
    </message>
    <message>
        <source>changed</source>
        <translation>geändert</translation>
    </message>
    <message>
        <source>kept</source>
        <translation>behalten</translation>
    </message>
    <message>
        <source>missing</source>
        <translation>fehlt</translation>
    </message>
    <message>
        <source>cannot be told</source>
        <translation>nicht feststellbar</translation>
    </message>
    <message>
        <source>%1, after “%2”</source>
        <translation>%1, nach „%2“</translation>
    </message>
    <message>
        <source>There is no record of its install to compare with.</source>
        <translation>Es gibt keine Aufzeichnung der Installation, mit der verglichen werden könnte.</translation>
    </message>
    <message>
        <source>An interrupted operation was left alone: %1.</source>
        <translation>Ein unterbrochener Vorgang wurde nicht angerührt: %1.</translation>
    </message>
    <message>
        <source>An operation had been interrupted (%1). It was not taken back, since you never changed anything on this machine before.</source>
        <translation>Ein Vorgang war unterbrochen worden (%1). Er wurde nicht zurückgenommen, da Sie auf dieser Maschine noch nie etwas geändert haben.</translation>
    </message>
    <message>
        <source>An operation had been interrupted (%1). It could not all be taken back; what is needed for it is kept, open the machine again.</source>
        <translation>Ein Vorgang war unterbrochen worden (%1). Er konnte nicht ganz zurückgenommen werden; was dazu nötig ist, bleibt erhalten. Öffnen Sie die Maschine erneut.</translation>
    </message>
    <message>
        <source>An operation had been interrupted at its end (%1). It is done, and its clean-up was completed.</source>
        <translation>Ein Vorgang war an seinem Ende unterbrochen worden (%1). Er ist ausgeführt und wurde abgeschlossen.</translation>
    </message>
    <message>
        <source>An operation had been interrupted (%1). It was taken back.</source>
        <translation>Ein Vorgang war unterbrochen worden (%1). Er wurde zurückgenommen.</translation>
    </message>
</context>
<context>
    <name>kest::desktop::HistoryDialog</name>
    <message>
        <source>History</source>
        <translation>Verlauf</translation>
    </message>
    <message>
        <source>What was done on this machine</source>
        <translation>Was auf dieser Maschine getan wurde</translation>
    </message>
    <message>
        <source>When</source>
        <translation>Wann</translation>
    </message>
    <message>
        <source>What</source>
        <translation>Was</translation>
    </message>
    <message>
        <source>Extension</source>
        <translation>Erweiterung</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message>
        <source>Product</source>
        <translation>Produkt</translation>
    </message>
    <message>
        <source>User</source>
        <translation>Benutzer</translation>
    </message>
    <message>
        <source>undone: operation %1</source>
        <translation>zurückgenommen: Vorgang %1</translation>
    </message>
    <message>
        <source>&amp;Undo this</source>
        <translation>Dies &amp;zurücknehmen</translation>
    </message>
</context>
<context>
    <name>kest::desktop::ImportDialog</name>
    <message>
        <source>Import into %1</source>
        <translation>In %1 importieren</translation>
    </message>
    <message>
        <source>&amp;From:</source>
        <translation>&amp;Aus:</translation>
    </message>
    <message>
        <source>Product to import from</source>
        <translation>Produkt, aus dem importiert wird</translation>
    </message>
    <message>
        <source>Extensions to import</source>
        <translation>Zu importierende Erweiterungen</translation>
    </message>
    <message>
        <source>&amp;Import</source>
        <translation>&amp;Importieren</translation>
    </message>
    <message>
        <source>%1 %2</source>
        <translation>%1 %2</translation>
    </message>
</context>
<context>
    <name>kest::desktop::MainWindow</name>
    <message>
        <source>Kest</source>
        <translation>Kest</translation>
    </message>
    <message>
        <source>Product</source>
        <translation>Produkt</translation>
    </message>
    <message>
        <source>User of the machine</source>
        <translation>Benutzer der Maschine</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>Filter</translation>
    </message>
    <message>
        <source>Filter by name, author or type</source>
        <translation>Nach Name, Autor oder Art filtern</translation>
    </message>
    <message>
        <source>&amp;Product:</source>
        <translation>&amp;Produkt:</translation>
    </message>
    <message>
        <source>Installed extensions</source>
        <translation>Installierte Erweiterungen</translation>
    </message>
    <message>
        <source>Switching on…</source>
        <translation>Wird eingeschaltet …</translation>
    </message>
    <message>
        <source>Switching off…</source>
        <translation>Wird ausgeschaltet …</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>&amp;About Kest</source>
        <translation>&amp;Über Kest</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>&amp;Install…</source>
        <translation>&amp;Installieren …</translation>
    </message>
    <message>
        <source>I&amp;mport from Another Product…</source>
        <translation>Aus anderem Produkt i&amp;mportieren …</translation>
    </message>
    <message>
        <source>&amp;Make a Package…</source>
        <translation>&amp;Paket erstellen …</translation>
    </message>
    <message>
        <source>&amp;Check a Package…</source>
        <translation>Paket p&amp;rüfen …</translation>
    </message>
    <message>
        <source>&amp;Open a Machine Folder…</source>
        <translation>Maschinenordner ö&amp;ffnen …</translation>
    </message>
    <message>
        <source>&amp;Recent Machine Folders</source>
        <translation>&amp;Zuletzt geöffnete Maschinenordner</translation>
    </message>
    <message>
        <source>Read the Machine &amp;Again</source>
        <translation>Maschine &amp;neu lesen</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>Tools</source>
        <translation>Werkzeuge</translation>
    </message>
    <message>
        <source>&amp;Extension</source>
        <translation>&amp;Erweiterung</translation>
    </message>
    <message>
        <source>&amp;Switch On or Off</source>
        <translation>Ein- oder au&amp;sschalten</translation>
    </message>
    <message>
        <source>&amp;Remove…</source>
        <translation>&amp;Entfernen …</translation>
    </message>
    <message>
        <source>Re&amp;pair</source>
        <translation>Re&amp;parieren</translation>
    </message>
    <message>
        <source>&amp;Undo the Last Operation</source>
        <translation>Letzten Vorgang &amp;zurücknehmen</translation>
    </message>
    <message>
        <source>&amp;History…</source>
        <translation>&amp;Verlauf …</translation>
    </message>
    <message>
        <source>None yet</source>
        <translation>Noch keine</translation>
    </message>
    <message>
        <source>Open a machine folder</source>
        <translation>Einen Maschinenordner öffnen</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Installieren</translation>
    </message>
    <message>
        <source>Extensions (*.kep *.kei)</source>
        <translation>Erweiterungen (*.kep *.kei)</translation>
    </message>
    <message>
        <source>Make a package of this description</source>
        <translation>Paket aus dieser Beschreibung erstellen</translation>
    </message>
    <message>
        <source>Descriptions (*.kei)</source>
        <translation>Beschreibungen (*.kei)</translation>
    </message>
    <message>
        <source>Save the package as</source>
        <translation>Paket speichern unter</translation>
    </message>
    <message>
        <source>Packages (*.kep)</source>
        <translation>Pakete (*.kep)</translation>
    </message>
    <message>
        <source>Making the package…</source>
        <translation>Das Paket wird erstellt …</translation>
    </message>
    <message>
        <source>Check</source>
        <translation>Prüfen</translation>
    </message>
    <message>
        <source>Importing…</source>
        <translation>Wird importiert …</translation>
    </message>
    <message>
        <source>Repairing…</source>
        <translation>Wird repariert …</translation>
    </message>
    <message>
        <source>Undoing…</source>
        <translation>Wird zurückgenommen …</translation>
    </message>
    <message>
        <source>About Kest</source>
        <translation>Über Kest</translation>
    </message>
    <message>
        <source>Kest %1 manages the extensions of Tidemark, Tidemark Vantage, Prism, Marlin and Quarry. Whatever fails or is cancelled is taken back.</source>
        <translation>Kest %1 verwaltet die Erweiterungen von Tidemark, Tidemark Vantage, Prism, Marlin und Quarry. Was scheitert oder abgebrochen wird, wird zurückgenommen.</translation>
    </message>
    <message>
        <source>Removing “%1”…</source>
        <translation>„%1“ wird entfernt …</translation>
    </message>
    <message>
        <source>Details</source>
        <translation>Einzelheiten</translation>
    </message>
    <message>
        <source>%1 – Kest</source>
        <translation>%1 – Kest</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <source>&amp;Open a machine folder…</source>
        <translation>Maschinenordner ö&amp;ffnen …</translation>
    </message>
    <message>
        <source>&amp;Take it back</source>
        <translation>&amp;Zurücknehmen</translation>
    </message>
    <message>
        <source>Not all that is installed could be read, so that nothing can be changed. %1</source>
        <translation>Nicht alles Installierte konnte gelesen werden, daher kann nichts geändert werden. %1</translation>
    </message>
    <message>
        <source>&amp;Try again</source>
        <translation>&amp;Erneut versuchen</translation>
    </message>
    <message>
        <source>No product was found on this machine. Install one, then read the machine again (F5), or open another machine folder.</source>
        <translation>Auf dieser Maschine wurde kein Produkt gefunden. Installieren Sie eines und lesen Sie die Maschine neu (F5), oder öffnen Sie einen anderen Maschinenordner.</translation>
    </message>
    <message>
        <source>&lt;p&gt;No extension is installed here yet.&lt;/p&gt;&lt;p&gt;Drop a package (.kep) on this window, or choose File &amp;gt; Install.&lt;/p&gt;</source>
        <translation>&lt;p&gt;Hier ist noch keine Erweiterung installiert.&lt;/p&gt;&lt;p&gt;Ziehen Sie ein Paket (.kep) auf dieses Fenster, oder wählen Sie Datei &amp;gt; Installieren.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>%1 cannot be installed: %2. Nothing was changed. %3</source>
        <translation>%1 kann nicht installiert werden: %2. Es wurde nichts geändert. %3</translation>
    </message>
    <message>
        <source>Installing “%1”…</source>
        <translation>„%1“ wird installiert …</translation>
    </message>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Zurücknehmen</translation>
    </message>
    <message>
        <source>%1 cannot be used: %2.</source>
        <translation>%1 ist nicht zu gebrauchen: %2.</translation>
    </message>
    <message>
        <source>Nothing is wrong with %1.</source>
        <translation>Mit %1 ist alles in Ordnung.</translation>
    </message>
    <message>
        <source>Error: %1</source>
        <translation>Fehler: %1</translation>
    </message>
    <message>
        <source>Warning: %1</source>
        <translation>Warnung: %1</translation>
    </message>
    <message>
        <source>Check of %1</source>
        <translation>Prüfung von %1</translation>
    </message>
    <message numerus="yes">
        <source>%1: %n error(s)</source>
        <translation>
            <numerusform>%1: %n Fehler</numerusform>
            <numerusform>%1: %n Fehler</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>kest::desktop::NoticeBar</name>
    <message>
        <source>&amp;Details…</source>
        <translation>Einzel&amp;heiten …</translation>
    </message>
    <message>
        <source>What was done</source>
        <translation>Was getan wurde</translation>
    </message>
    <message>
        <source>Close this message</source>
        <translation>Diese Nachricht schließen</translation>
    </message>
</context>
<context>
    <name>kest::desktop::PreviewDialog</name>
    <message>
        <source>&amp;Cancel</source>
        <translation>Abbre&amp;chen</translation>
    </message>
    <message>
        <source>Install %1</source>
        <translation>%1 installieren</translation>
    </message>
    <message>
        <source>“%1” %2 will be installed in %3.</source>
        <translation>„%1“ %2 wird in %3 installiert.</translation>
    </message>
    <message>
        <source>Its author is %1.</source>
        <translation>Autor: %1.</translation>
    </message>
    <message>
        <source>It takes the place of “%1”.</source>
        <translation>Sie tritt an die Stelle von „%1“.</translation>
    </message>
    <message>
        <source>&amp;Install</source>
        <translation>&amp;Installieren</translation>
    </message>
    <message>
        <source>I &amp;accept the agreement</source>
        <translation>Ich &amp;akzeptiere die Vereinbarung</translation>
    </message>
    <message>
        <source>To be known</source>
        <translation>Gut zu wissen</translation>
    </message>
    <message>
        <source>Menus</source>
        <translation>Menüs</translation>
    </message>
    <message>
        <source>Shortcuts</source>
        <translation>Tastenkürzel</translation>
    </message>
    <message>
        <source>Toolbars and insert bar</source>
        <translation>Symbolleisten und Einfügeleiste</translation>
    </message>
    <message>
        <source>Lists and tags</source>
        <translation>Listen und Tags</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Dateien</translation>
    </message>
    <message>
        <source>Registry</source>
        <translation>Registrierung</translation>
    </message>
    <message>
        <source>What will be done</source>
        <translation>Was getan wird</translation>
    </message>
    <message>
        <source>What</source>
        <translation>Was</translation>
    </message>
    <message>
        <source>Change</source>
        <translation>Änderung</translation>
    </message>
    <message>
        <source>Where</source>
        <translation>Wo</translation>
    </message>
    <message>
        <source>Agreement</source>
        <translation>Vereinbarung</translation>
    </message>
</context>
<context>
    <name>kest::desktop::ProgressPanel</name>
    <message>
        <source>&amp;Cancel</source>
        <translation>Abbre&amp;chen</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>Fortschritt</translation>
    </message>
    <message>
        <source>Ends the operation and takes everything back</source>
        <translation>Beendet den Vorgang und nimmt alles zurück</translation>
    </message>
    <message>
        <source>Waiting: another program is changing this machine.</source>
        <translation>Bitte warten: ein anderes Programm ändert diese Maschine.</translation>
    </message>
    <message>
        <source>Waiting: this machine is being changed by %1.</source>
        <translation>Bitte warten: diese Maschine wird gerade von %1 geändert.</translation>
    </message>
    <message>
        <source>Cancelled: taking everything back…</source>
        <translation>Abgebrochen: alles wird zurückgenommen …</translation>
    </message>
</context>
<context>
    <name>kest::desktop::QuestionDialog</name>
    <message>
        <source>A question</source>
        <translation>Eine Frage</translation>
    </message>
    <message>
        <source>Folder on the machine</source>
        <translation>Ordner auf der Maschine</translation>
    </message>
    <message>
        <source>&amp;Take this folder</source>
        <translation>Diesen &amp;Ordner nehmen</translation>
    </message>
    <message>
        <source>&amp;Yes</source>
        <translation>&amp;Ja</translation>
    </message>
    <message>
        <source>&amp;No</source>
        <translation>&amp;Nein</translation>
    </message>
    <message>
        <source>&amp;Try again</source>
        <translation>&amp;Erneut versuchen</translation>
    </message>
    <message>
        <source>&amp;Replace</source>
        <translation>&amp;Ersetzen</translation>
    </message>
    <message>
        <source>Replace &amp;all</source>
        <translation>&amp;Alle ersetzen</translation>
    </message>
    <message>
        <source>&amp;Keep</source>
        <translation>&amp;Behalten</translation>
    </message>
    <message>
        <source>&amp;Do the same for all</source>
        <translation>Für alle e&amp;benso</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>Abbre&amp;chen</translation>
    </message>
    <message>
        <source>Ends the operation and takes everything back</source>
        <translation>Beendet den Vorgang und nimmt alles zurück</translation>
    </message>
    <message>
        <source>Agreement</source>
        <translation>Vereinbarung</translation>
    </message>
    <message>
        <source>I &amp;accept</source>
        <translation>Ich &amp;akzeptiere</translation>
    </message>
    <message>
        <source>&amp;Go on</source>
        <translation>&amp;Weiter</translation>
    </message>
</context>
<context>
    <name>kest::desktop::RemovalDialog</name>
    <message>
        <source>Remove %1</source>
        <translation>%1 entfernen</translation>
    </message>
    <message>
        <source>“%1” will be removed. This can be undone.</source>
        <translation>„%1“ wird entfernt. Das kann zurückgenommen werden.</translation>
    </message>
    <message>
        <source>The product has to be started again afterwards.</source>
        <translation>Das Produkt muss danach neu gestartet werden.</translation>
    </message>
    <message>
        <source>What becomes of its files</source>
        <translation>Was aus ihren Dateien wird</translation>
    </message>
    <message>
        <source>These files stay</source>
        <translation>Diese Dateien bleiben</translation>
    </message>
    <message>
        <source>These files are not there any more</source>
        <translation>Diese Dateien sind nicht mehr da</translation>
    </message>
    <message>
        <source>These files go</source>
        <translation>Diese Dateien werden entfernt</translation>
    </message>
    <message>
        <source>&amp;Remove</source>
        <translation>&amp;Entfernen</translation>
    </message>
</context>
<context>
    <name>kest::desktop::TextDialog</name>
    <message>
        <source>C&amp;opy</source>
        <translation>&amp;Kopieren</translation>
    </message>
</context>
<context>
    <name>Words</name>
    <message>
        <source>%1 was installed.</source>
        <translation>%1 wurde installiert.</translation>
    </message>
    <message>
        <source>%1 was not installed</source>
        <translation>%1 wurde nicht installiert</translation>
    </message>
    <message>
        <source>%1 was removed.</source>
        <translation>%1 wurde entfernt.</translation>
    </message>
    <message>
        <source>%1 was not removed</source>
        <translation>%1 wurde nicht entfernt</translation>
    </message>
    <message>
        <source>%1 is switched off.</source>
        <translation>%1 ist ausgeschaltet.</translation>
    </message>
    <message>
        <source>%1 was not switched off</source>
        <translation>%1 wurde nicht ausgeschaltet</translation>
    </message>
    <message>
        <source>%1 is switched on.</source>
        <translation>%1 ist eingeschaltet.</translation>
    </message>
    <message>
        <source>%1 was not switched on</source>
        <translation>%1 wurde nicht eingeschaltet</translation>
    </message>
    <message>
        <source>The package is made.</source>
        <translation>Das Paket ist erstellt.</translation>
    </message>
    <message>
        <source>The package was not made</source>
        <translation>Das Paket wurde nicht erstellt</translation>
    </message>
    <message>
        <source>The extensions were imported.</source>
        <translation>Die Erweiterungen wurden importiert.</translation>
    </message>
    <message>
        <source>Not all extensions were imported</source>
        <translation>Nicht alle Erweiterungen wurden importiert</translation>
    </message>
    <message>
        <source>The operation was undone.</source>
        <translation>Der Vorgang wurde zurückgenommen.</translation>
    </message>
    <message>
        <source>The operation was not undone</source>
        <translation>Der Vorgang wurde nicht zurückgenommen</translation>
    </message>
    <message>
        <source>%1 was repaired.</source>
        <translation>%1 wurde repariert.</translation>
    </message>
    <message>
        <source>%1 was not repaired</source>
        <translation>%1 wurde nicht repariert</translation>
    </message>
    <message>
        <source>it was cancelled</source>
        <translation>es wurde abgebrochen</translation>
    </message>
    <message>
        <source>a file, product or extension is not there</source>
        <translation>eine Datei, ein Produkt oder eine Erweiterung ist nicht da</translation>
    </message>
    <message>
        <source>Read the machine again (F5).</source>
        <translation>Lesen Sie die Maschine neu (F5).</translation>
    </message>
    <message>
        <source>no product on this machine supports it</source>
        <translation>kein Produkt auf dieser Maschine unterstützt sie</translation>
    </message>
    <message>
        <source>Ask its author which products it is made for.</source>
        <translation>Fragen Sie den Autor, für welche Produkte sie gemacht ist.</translation>
    </message>
    <message>
        <source>the package is damaged or incomplete</source>
        <translation>das Paket ist beschädigt oder unvollständig</translation>
    </message>
    <message>
        <source>Get the package again.</source>
        <translation>Besorgen Sie das Paket noch einmal.</translation>
    </message>
    <message>
        <source>its description cannot be used</source>
        <translation>ihre Beschreibung ist nicht zu gebrauchen</translation>
    </message>
    <message>
        <source>File &gt; Check a Package tells what is wrong with it.</source>
        <translation>Datei &gt; Paket prüfen zeigt, was damit nicht stimmt.</translation>
    </message>
    <message>
        <source>a file is in use</source>
        <translation>eine Datei wird gerade verwendet</translation>
    </message>
    <message>
        <source>Close the program that uses it, and try again.</source>
        <translation>Schließen Sie das Programm, das sie verwendet, und versuchen Sie es erneut.</translation>
    </message>
    <message>
        <source>you have no right to write there</source>
        <translation>Sie dürfen dort nicht schreiben</translation>
    </message>
    <message>
        <source>Ask the owner of the machine folder.</source>
        <translation>Fragen Sie den Besitzer des Maschinenordners.</translation>
    </message>
    <message>
        <source>another program is changing the machine</source>
        <translation>ein anderes Programm ändert die Maschine</translation>
    </message>
    <message>
        <source>Try again when it is done.</source>
        <translation>Versuchen Sie es erneut, wenn es fertig ist.</translation>
    </message>
    <message>
        <source>the disk is full</source>
        <translation>die Festplatte ist voll</translation>
    </message>
    <message>
        <source>Make room and try again.</source>
        <translation>Schaffen Sie Platz und versuchen Sie es erneut.</translation>
    </message>
    <message>
        <source>the same extension is there and switched on</source>
        <translation>dieselbe Erweiterung ist da und eingeschaltet</translation>
    </message>
    <message>
        <source>there is not enough memory</source>
        <translation>der Arbeitsspeicher reicht nicht</translation>
    </message>
    <message>
        <source>Close other programs and try again.</source>
        <translation>Schließen Sie andere Programme und versuchen Sie es erneut.</translation>
    </message>
    <message>
        <source>the engine gives no reason</source>
        <translation>ein Grund wird nicht genannt</translation>
    </message>
    <message>
        <source>installed</source>
        <translation>installiert</translation>
    </message>
    <message>
        <source>removed</source>
        <translation>entfernt</translation>
    </message>
    <message>
        <source>switched off</source>
        <translation>ausgeschaltet</translation>
    </message>
    <message>
        <source>switched on</source>
        <translation>eingeschaltet</translation>
    </message>
    <message>
        <source>imported</source>
        <translation>importiert</translation>
    </message>
    <message>
        <source>undone</source>
        <translation>zurückgenommen</translation>
    </message>
    <message>
        <source>repaired</source>
        <translation>repariert</translation>
    </message>
    <message>
        <source>The extension</source>
        <translation>Die Erweiterung</translation>
    </message>
    <message>
        <source>“%1”</source>
        <translation>„%1“</translation>
    </message>
    <message>
        <source>“%1” in %2</source>
        <translation>„%1“ in %2</translation>
    </message>
    <message>
        <source>Not all could be taken back, see the details.</source>
        <translation>Nicht alles konnte zurückgenommen werden, siehe Einzelheiten.</translation>
    </message>
    <message>
        <source>Everything was taken back: all is as before.</source>
        <translation>Alles wurde zurückgenommen: es ist wie zuvor.</translation>
    </message>
    <message>
        <source>Nothing was changed.</source>
        <translation>Es wurde nichts geändert.</translation>
    </message>
    <message>
        <source>%1: %2. %3</source>
        <translation>%1: %2. %3</translation>
    </message>
    <message>
        <source>The computer has to be restarted before it can be used.</source>
        <translation>Der Rechner muss neu gestartet werden, bevor sie verwendet werden kann.</translation>
    </message>
    <message>
        <source>Close %1 and start it again to use the change.</source>
        <translation>Beenden Sie %1 und starten Sie es neu, um die Änderung zu verwenden.</translation>
    </message>
    <message>
        <source>Read the machine again (F5): the rest is taken back then.</source>
        <translation>Lesen Sie die Maschine neu (F5): dann wird der Rest zurückgenommen.</translation>
    </message>
    <message>
        <source>These files stayed:</source>
        <translation>Diese Dateien sind geblieben:</translation>
    </message>
    <message>
        <source>Also to be known:</source>
        <translation>Außerdem:</translation>
    </message>
    <message>
        <source>What lies there beyond what was asked for:</source>
        <translation>Was außer dem Gewünschten dort liegt:</translation>
    </message>
    <message>
        <source>What the engine said:</source>
        <translation>Meldungen:</translation>
    </message>
    <message>
        <source>What it advises:</source>
        <translation>Rat:</translation>
    </message>
</context>
<context>
    <name>main</name>
    <message>
        <source>Manages extensions of authoring applications.</source>
        <translation>Verwaltet Erweiterungen von Autorenprogrammen.</translation>
    </message>
    <message>
        <source>The machine folder to open.</source>
        <translation>Der zu öffnende Maschinenordner.</translation>
    </message>
    <message>
        <source>folder</source>
        <translation>Ordner</translation>
    </message>
    <message>
        <source>Packages and descriptions to install.</source>
        <translation>Pakete und Beschreibungen, die installiert werden sollen.</translation>
    </message>
</context>
</TS>
