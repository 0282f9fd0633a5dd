<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>DurationFormatter</name>
    <message>
        <source>hour</source>
        <translation>Stunde</translation>
    </message>
    <message>
        <source>hours</source>
        <translation>Stunden</translation>
    </message>
    <message>
        <source>h</source>
        <translation>h</translation>
    </message>
    <message>
        <source>minute</source>
        <translation>Minute</translation>
    </message>
    <message>
        <source>minutes</source>
        <translation>Minuten</translation>
    </message>
    <message>
        <source>m</source>
        <translation>min</translation>
    </message>
    <message>
        <source>less than a second</source>
        <translation>weniger als eine Sekunde</translation>
    </message>
    <message>
        <source>second</source>
        <translation>Sekunde</translation>
    </message>
    <message>
        <source>seconds</source>
        <translation>Sekunden</translation>
    </message>
    <message>
        <source>s</source>
        <translation>s</translation>
    </message>
</context>
<context>
    <name>FuzzyDateFormatter</name>
    <message>
        <source>Today</source>
        <translation>Heute</translation>
    </message>
    <message>
        <source>Yesterday</source>
        <translation>Gestern</translation>
    </message>
</context>
<context>
    <name>MP4MoovWriter</name>
    <message>
        <source>The tags of “%1” are too large.</source>
        <translation>Die Tags von „%1“ sind zu groß.</translation>
    </message>
    <message>
        <source>“%1” cannot be edited: fragmented files cannot be edited yet.</source>
        <translation>„%1“ kann nicht bearbeitet werden: Fragmentierte Dateien können noch nicht bearbeitet werden.</translation>
    </message>
    <message>
        <source>“%1” could not be shortened</source>
        <translation>„%1“ konnte nicht gekürzt werden</translation>
    </message>
    <message>
        <source>“%1” cannot be edited: a track has no chunk offsets.</source>
        <translation>„%1“ kann nicht bearbeitet werden: Eine Spur hat keine Chunk-Offsets.</translation>
    </message>
    <message>
        <source>“%1” is damaged: its chunk offsets point into its headers.</source>
        <translation>„%1“ ist beschädigt: Ihre Chunk-Offsets zeigen in ihre Kopfdaten.</translation>
    </message>
    <message>
        <source>“%1” could not be read</source>
        <translation>„%1“ konnte nicht gelesen werden</translation>
    </message>
    <message>
        <source>No new copy of “%1” could be made in its folder</source>
        <translation>In ihrem Ordner konnte keine neue Kopie von „%1“ angelegt werden</translation>
    </message>
    <message>
        <source>“%1” could not be written anew</source>
        <translation>„%1“ konnte nicht neu geschrieben werden</translation>
    </message>
    <message>
        <source>“%1” could not be replaced</source>
        <translation>„%1“ konnte nicht ersetzt werden</translation>
    </message>
    <message>
        <source>“%1” could not be written</source>
        <translation>„%1“ konnte nicht geschrieben werden</translation>
    </message>
    <message>
        <source>%1: the disk is full.</source>
        <translation>%1: Der Datenträger ist voll.</translation>
    </message>
</context>
<context>
    <name>MP4Tags</name>
    <message>
        <source>“%1” is damaged: its tags cannot be read whole.</source>
        <translation>„%1“ ist beschädigt: Ihre Tags können nicht vollständig gelesen werden.</translation>
    </message>
    <message>
        <source>“%1” is read-only.</source>
        <translation>„%1“ ist schreibgeschützt.</translation>
    </message>
    <message>
        <source>“%1” could not be read.</source>
        <translation>„%1“ konnte nicht gelesen werden.</translation>
    </message>
    <message>
        <source>“%1” is not an MPEG-4 audio file: it has no movie header.</source>
        <translation>„%1“ ist keine MPEG-4-Audiodatei: Sie hat keinen Movie-Header.</translation>
    </message>
    <message>
        <source>“%1” is damaged: it ends before its last atom does.</source>
        <translation>„%1“ ist beschädigt: Die Datei endet vor ihrem letzten Atom.</translation>
    </message>
    <message>
        <source>“%1” is damaged: its movie header cannot be read.</source>
        <translation>„%1“ ist beschädigt: Ihr Movie-Header kann nicht gelesen werden.</translation>
    </message>
    <message>
        <source>“%1” was changed by another program during the edit.</source>
        <translation>„%1“ wurde während der Bearbeitung von einem anderen Programm geändert.</translation>
    </message>
    <message>
        <source>“%1” is damaged: its tracks cannot be read whole.</source>
        <translation>„%1“ ist beschädigt: Ihre Spuren können nicht vollständig gelesen werden.</translation>
    </message>
    <message>
        <source>“%1” has no chunk offsets.</source>
        <translation>„%1“ hat keine Chunk-Offsets.</translation>
    </message>
</context>
<context>
    <name>MusicLibraryPlaylist</name>
    <message>
        <source>Spindrel</source>
        <translation>Spindrel</translation>
    </message>
</context>
<context>
    <name>NewRecording</name>
    <message>
        <source>Untitled</source>
        <translation>Unbenannt</translation>
    </message>
</context>
<context>
    <name>PTKeyCombo</name>
    <message>
        <source>(None)</source>
        <translation>(Keine)</translation>
    </message>
    <message>
        <source>Ctrl</source>
        <translation>Strg</translation>
    </message>
    <message>
        <source>Alt</source>
        <translation>Alt</translation>
    </message>
    <message>
        <source>Super</source>
        <translation>Super</translation>
    </message>
    <message>
        <source>Shift</source>
        <translation>Umschalt</translation>
    </message>
    <message>
        <source>Left</source>
        <translation>Links</translation>
    </message>
    <message>
        <source>Up</source>
        <translation>Hoch</translation>
    </message>
    <message>
        <source>Right</source>
        <translation>Rechts</translation>
    </message>
    <message>
        <source>Down</source>
        <translation>Runter</translation>
    </message>
    <message>
        <source>Home</source>
        <translation>Pos1</translation>
    </message>
    <message>
        <source>End</source>
        <translation>Ende</translation>
    </message>
    <message>
        <source>Return</source>
        <translation>Eingabe</translation>
    </message>
    <message>
        <source>PgUp</source>
        <translation>Bild auf</translation>
    </message>
    <message>
        <source>PgDown</source>
        <translation>Bild ab</translation>
    </message>
    <message>
        <source>Tab</source>
        <translation>Tab</translation>
    </message>
    <message>
        <source>Enter</source>
        <translation>Enter</translation>
    </message>
    <message>
        <source>Del</source>
        <translation>Entf</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Backspace</source>
        <translation>Rücktaste</translation>
    </message>
    <message>
        <source>Esc</source>
        <translation>Esc</translation>
    </message>
</context>
<context>
    <name>QObject</name>
    <message>
        <source>YouTube</source>
        <translation>YouTube</translation>
    </message>
    <message>
        <source>Music Library</source>
        <translation>Musiksammlung</translation>
    </message>
</context>
<context>
    <name>TapeCassette</name>
    <message>
        <source>Recorded</source>
        <translation>Aufgenommen</translation>
    </message>
</context>
<context>
    <name>UpdateAlert</name>
    <message>
        <source>Software Update</source>
        <translation>Softwareaktualisierung</translation>
    </message>
    <message>
        <source>Spindrel %1 is now available—you have %2.</source>
        <translation>Spindrel %1 ist jetzt verfügbar – Sie haben %2.</translation>
    </message>
    <message>
        <source>What&apos;s new:</source>
        <translation>Neuigkeiten:</translation>
    </message>
    <message>
        <source>Release notes</source>
        <translation>Versionshinweise</translation>
    </message>
    <message>
        <source>Get it from:</source>
        <translation>Erhältlich unter:</translation>
    </message>
    <message>
        <source>A new version of Spindrel is available!</source>
        <translation>Eine neue Version von Spindrel ist verfügbar!</translation>
    </message>
    <message>
        <source>Download</source>
        <translation>Herunterladen</translation>
    </message>
    <message>
        <source>Remind Me Later</source>
        <translation>Später erinnern</translation>
    </message>
    <message>
        <source>You&apos;re up to date!</source>
        <translation>Spindrel ist auf dem neuesten Stand!</translation>
    </message>
    <message>
        <source>Spindrel %1 is currently the newest version available.</source>
        <translation>Spindrel %1 ist die neueste verfügbare Version.</translation>
    </message>
    <message>
        <source>Update Error!</source>
        <translation>Fehler bei der Aktualisierung!</translation>
    </message>
</context>
<context>
    <name>VORLExtendedAudioFile</name>
    <message>
        <source>The recording into “%1” failed.</source>
        <translation>Die Aufnahme in „%1“ ist fehlgeschlagen.</translation>
    </message>
    <message>
        <source>The disk holding “%1” is full.</source>
        <translation>Der Datenträger mit „%1“ ist voll.</translation>
    </message>
    <message>
        <source>Your disk quota on the disk holding “%1” is used up.</source>
        <translation>Ihr Speicherkontingent auf dem Datenträger mit „%1“ ist aufgebraucht.</translation>
    </message>
    <message>
        <source>The recording could not be written to “%1”: %2.</source>
        <translation>Die Aufnahme konnte nicht nach „%1“ geschrieben werden: %2.</translation>
    </message>
</context>
<context>
    <name>spindrel::AboutWindow</name>
    <message>
        <source>About Spindrel</source>
        <translation>Über Spindrel</translation>
    </message>
    <message>
        <source>Version %1</source>
        <translation>Version %1</translation>
    </message>
    <message>
        <source>&lt;p&gt;A cassette deck for recording: every recording is a tape, an .m4a file in your tape library, with its title, notes, date and cover art kept inside the file.&lt;/p&gt;&lt;p&gt;&lt;b&gt;Built with&lt;/b&gt;&lt;br&gt;Qt, for the deck and its windows&lt;br&gt;FFmpeg, for encoding and decoding AAC and Apple Lossless&lt;br&gt;PulseAudio, for sound in and out&lt;br&gt;libsamplerate, for tape speeds&lt;br&gt;libplist, for the tape letters&apos; archives&lt;br&gt;the Liberation and DejaVu fonts.&lt;/p&gt;</source>
        <translation>&lt;p&gt;Ein Kassettendeck zum Aufnehmen: Jede Aufnahme ist eine Kassette, eine .m4a-Datei in Ihrer Kassettensammlung, die Titel, Notizen, Datum und Cover in der Datei selbst aufbewahrt.&lt;/p&gt;&lt;p&gt;&lt;b&gt;Erstellt mit&lt;/b&gt;&lt;br&gt;Qt für das Deck und seine Fenster&lt;br&gt;FFmpeg für das Kodieren und Dekodieren von AAC und Apple Lossless&lt;br&gt;PulseAudio für den Ton hinein und hinaus&lt;br&gt;libsamplerate für die Bandgeschwindigkeiten&lt;br&gt;libplist für die Archive der Kassettenbuchstaben&lt;br&gt;den Schriften Liberation und DejaVu.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
</context>
<context>
    <name>spindrel::AppController</name>
    <message>
        <source>Spindrel Feedback: (Enter title here)</source>
        <translation>Spindrel-Feedback: (Titel hier eingeben)</translation>
    </message>
    <message>
        <source>Here&apos;s how I feel about Spindrel:


--
(I&apos;m using Spindrel version %1 with %2.)
</source>
        <translation>Das halte ich von Spindrel:


--
(Ich verwende Spindrel Version %1 mit %2.)
</translation>
    </message>
    <message>
        <source>&amp;Spindrel</source>
        <translation>&amp;Spindrel</translation>
    </message>
    <message>
        <source>About Spindrel</source>
        <translation>Über Spindrel</translation>
    </message>
    <message>
        <source>Check for Updates…</source>
        <translation>Nach Updates suchen…</translation>
    </message>
    <message>
        <source>Preferences…</source>
        <translation>Einstellungen…</translation>
    </message>
    <message>
        <source>Quit Spindrel</source>
        <translation>Spindrel beenden</translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation>&amp;Bearbeiten</translation>
    </message>
    <message>
        <source>&amp;Controls</source>
        <translation>S&amp;teuerung</translation>
    </message>
    <message>
        <source>&amp;Tape</source>
        <translation>&amp;Kassette</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>Send Feedback…</source>
        <translation>Feedback senden…</translation>
    </message>
    <message>
        <source>Ctrl+,</source>
        <translation>Ctrl+,</translation>
    </message>
    <message>
        <source>Spindrel Help</source>
        <translation>Spindrel-Hilfe</translation>
    </message>
</context>
<context>
    <name>spindrel::DeckActions</name>
    <message>
        <source>Import Tapes…</source>
        <translation>Kassetten importieren…</translation>
    </message>
    <message>
        <source>Ctrl+I</source>
        <translation>Ctrl+I</translation>
    </message>
    <message>
        <source>Export Tape…</source>
        <translation>Kassette exportieren…</translation>
    </message>
    <message>
        <source>Ctrl+E</source>
        <translation>Ctrl+E</translation>
    </message>
    <message>
        <source>Show in Folder</source>
        <translation>Im Ordner zeigen</translation>
    </message>
    <message>
        <source>Move Tape to Trash</source>
        <translation>Kassette in den Papierkorb legen</translation>
    </message>
    <message>
        <source>Email Tape…</source>
        <translation>Kassette per E-Mail senden…</translation>
    </message>
    <message>
        <source>Add Tape to Music Library</source>
        <translation>Kassette zur Musiksammlung hinzufügen</translation>
    </message>
    <message>
        <source>Open Library Folder</source>
        <translation>Bibliotheksordner öffnen</translation>
    </message>
    <message>
        <source>Show Tapes</source>
        <translation>Kassetten zeigen</translation>
    </message>
    <message>
        <source>Ctrl+T</source>
        <translation>Ctrl+T</translation>
    </message>
    <message>
        <source>Find</source>
        <translation>Suchen</translation>
    </message>
    <message>
        <source>Record</source>
        <translation>Aufnehmen</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>Wiedergeben</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Stopp</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>Fast Forward</source>
        <translation>Vorspulen</translation>
    </message>
    <message>
        <source>Rewind</source>
        <translation>Zurückspulen</translation>
    </message>
    <message>
        <source>Previous Tape</source>
        <translation>Vorherige Kassette</translation>
    </message>
    <message>
        <source>Ctrl+Down</source>
        <translation>Ctrl+Down</translation>
    </message>
    <message>
        <source>Next Tape</source>
        <translation>Nächste Kassette</translation>
    </message>
    <message>
        <source>Ctrl+Up</source>
        <translation>Ctrl+Up</translation>
    </message>
    <message>
        <source>Hide Tapes</source>
        <translation>Kassetten ausblenden</translation>
    </message>
    <message>
        <source>Edit Title</source>
        <translation>Titel bearbeiten</translation>
    </message>
    <message>
        <source>Edit Notes</source>
        <translation>Notizen bearbeiten</translation>
    </message>
</context>
<context>
    <name>spindrel::DeckStatusItem</name>
    <message>
        <source>Record</source>
        <translation>Aufnehmen</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Stopp</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>Wiedergeben</translation>
    </message>
    <message>
        <source>Show Spindrel</source>
        <translation>Spindrel zeigen</translation>
    </message>
    <message>
        <source>Quit Spindrel</source>
        <translation>Spindrel beenden</translation>
    </message>
</context>
<context>
    <name>spindrel::DeckWindow</name>
    <message>
        <source>Show or hide the tapes</source>
        <translation>Kassetten zeigen oder ausblenden</translation>
    </message>
    <message>
        <source>Dismiss</source>
        <translation>Schließen</translation>
    </message>
</context>
<context>
    <name>spindrel::DrawerButton</name>
    <message>
        <source>Show Tapes</source>
        <translation>Kassetten zeigen</translation>
    </message>
    <message>
        <source>Hide Tapes</source>
        <translation>Kassetten ausblenden</translation>
    </message>
</context>
<context>
    <name>spindrel::FileBrowser</name>
    <message>
        <source>“%1” can’t be shown because it no longer exists.</source>
        <translation>„%1“ kann nicht angezeigt werden, weil es nicht mehr existiert.</translation>
    </message>
    <message>
        <source>No file manager could show “%1”. It is in the folder “%2”.</source>
        <translation>Kein Dateimanager konnte „%1“ anzeigen. Es liegt im Ordner „%2“.</translation>
    </message>
</context>
<context>
    <name>spindrel::FileCopy</name>
    <message>
        <source>the file kept changing while it was copied.</source>
        <translation>die Datei änderte sich immer wieder, während sie kopiert wurde.</translation>
    </message>
</context>
<context>
    <name>spindrel::FilteringArrayController</name>
    <message>
        <source>Date</source>
        <translation>Datum</translation>
    </message>
    <message>
        <source>Length</source>
        <translation>Länge</translation>
    </message>
    <message>
        <source>Quality</source>
        <translation>Qualität</translation>
    </message>
    <message>
        <source>Color</source>
        <translation>Farbe</translation>
    </message>
    <message>
        <source>Letter</source>
        <translation>Buchstabe</translation>
    </message>
    <message>
        <source>Title</source>
        <translation>Titel</translation>
    </message>
</context>
<context>
    <name>spindrel::HUDView</name>
    <message>
        <source>%1 dB</source>
        <translation>%1 dB</translation>
    </message>
    <message>
        <source>Display</source>
        <translation>Anzeige</translation>
    </message>
</context>
<context>
    <name>spindrel::LevelView</name>
    <message>
        <source>Input Level</source>
        <translation>Eingangspegel</translation>
    </message>
    <message>
        <source>left %1, right %2</source>
        <translation>links %1, rechts %2</translation>
    </message>
</context>
<context>
    <name>spindrel::LibraryFolderWatch</name>
    <message>
        <source>The tape library folder %1 is not there: it was moved or deleted, or its disk is not connected. Your tapes come back as soon as it is.</source>
        <translation>Der Ordner der Bandbibliothek %1 ist nicht da: Er wurde verschoben oder gelöscht, oder sein Datenträger ist nicht angeschlossen. Ihre Bänder kommen zurück, sobald er wieder da ist.</translation>
    </message>
    <message>
        <source>The tape library %1 is not a folder.</source>
        <translation>Die Bandbibliothek %1 ist kein Ordner.</translation>
    </message>
    <message>
        <source>Spindrel is not allowed to open the tape library folder %1.</source>
        <translation>Spindrel darf den Ordner der Bandbibliothek %1 nicht öffnen.</translation>
    </message>
    <message>
        <source>Spindrel is not allowed to change the tape library folder %1: new recordings and edits cannot be saved there.</source>
        <translation>Spindrel darf den Ordner der Bandbibliothek %1 nicht ändern: Neue Aufnahmen und Änderungen können dort nicht gesichert werden.</translation>
    </message>
</context>
<context>
    <name>spindrel::MailDraft</name>
    <message>
        <source>Spindrel Recording: %1</source>
        <translation>Spindrel-Aufnahme: %1</translation>
    </message>
    <message>
        <source>Recorded with Spindrel</source>
        <translation>Aufgenommen mit Spindrel</translation>
    </message>
    <message>
        <source>“%1” can’t be sent by mail because it no longer exists.</source>
        <translation>„%1“ kann nicht per E-Mail gesendet werden, weil es nicht mehr existiert.</translation>
    </message>
    <message>
        <source>No mail program could be found to write the message. Install xdg-utils and choose a mail program in your desktop’s settings.</source>
        <translation>Es wurde kein E-Mail-Programm gefunden, um die Nachricht zu schreiben. Installieren Sie xdg-utils und wählen Sie in den Einstellungen Ihres Desktops ein E-Mail-Programm.</translation>
    </message>
    <message>
        <source>No mail program is set up to write the message. Choose a mail program in your desktop’s settings.</source>
        <translation>Es ist kein E-Mail-Programm eingerichtet, um die Nachricht zu schreiben. Wählen Sie in den Einstellungen Ihres Desktops ein E-Mail-Programm.</translation>
    </message>
    <message>
        <source>The mail program could not be started.</source>
        <translation>Das E-Mail-Programm konnte nicht gestartet werden.</translation>
    </message>
    <message>
        <source>The mail program could not write the message (status %1).</source>
        <translation>Das E-Mail-Programm konnte die Nachricht nicht schreiben (Status %1).</translation>
    </message>
</context>
<context>
    <name>spindrel::MusicLibraryPlaylist</name>
    <message>
        <source>“%1” can’t be added to the music library because it no longer exists.</source>
        <translation>„%1“ kann nicht zur Musiksammlung hinzugefügt werden, weil es nicht mehr existiert.</translation>
    </message>
    <message>
        <source>“%1” can’t be added to the music library: playlists cannot hold a file name with a line break.</source>
        <translation>„%1“ kann nicht zur Musiksammlung hinzugefügt werden: Wiedergabelisten können keinen Dateinamen mit Zeilenumbruch enthalten.</translation>
    </message>
    <message>
        <source>The playlist “%1” can’t be read: %2</source>
        <translation>Die Wiedergabeliste „%1“ kann nicht gelesen werden: %2</translation>
    </message>
    <message>
        <source>The playlist folder “%1” can’t be made.</source>
        <translation>Der Ordner für Wiedergabelisten „%1“ kann nicht angelegt werden.</translation>
    </message>
    <message>
        <source>The playlist “%1” can’t be written: %2</source>
        <translation>Die Wiedergabeliste „%1“ kann nicht geschrieben werden: %2</translation>
    </message>
</context>
<context>
    <name>spindrel::PTHotKeyCenter</name>
    <message>
        <source>Looking for the desktop&apos;s global shortcuts…</source>
        <translation>Globale Tastenkürzel der Arbeitsumgebung werden gesucht…</translation>
    </message>
    <message>
        <source>Global hot keys are unavailable in this session.</source>
        <translation>Globale Tastenkürzel sind in dieser Sitzung nicht verfügbar.</translation>
    </message>
</context>
<context>
    <name>spindrel::PTKeyComboPanel</name>
    <message>
        <source>Hot Key</source>
        <translation>Tastenkürzel</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Type the keys for “%1”:</source>
        <translation>Tasten für „%1“ drücken:</translation>
    </message>
    <message>
        <source>No hot key</source>
        <translation>Kein Tastenkürzel</translation>
    </message>
    <message>
        <source>A hot key needs Ctrl, Alt, Super or Shift.</source>
        <translation>Ein Tastenkürzel braucht Strg, Alt, Super oder Umschalt.</translation>
    </message>
</context>
<context>
    <name>spindrel::PositionView</name>
    <message>
        <source>Position</source>
        <translation>Position</translation>
    </message>
</context>
<context>
    <name>spindrel::PreferencesWindow</name>
    <message>
        <source>Preferences</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>General</source>
        <translation>Allgemein</translation>
    </message>
    <message>
        <source>Hot Keys</source>
        <translation>Tastenkürzel</translation>
    </message>
    <message>
        <source>Audio</source>
        <translation>Audio</translation>
    </message>
    <message>
        <source>Play sound effects</source>
        <translation>Toneffekte abspielen</translation>
    </message>
    <message>
        <source>Show the deck in the status area</source>
        <translation>Das Deck im Statusbereich zeigen</translation>
    </message>
    <message>
        <source>Record at the sample rate of the quality</source>
        <translation>Mit der Abtastrate der gewählten Qualität aufnehmen</translation>
    </message>
    <message>
        <source>Your name</source>
        <translation>Ihr Name</translation>
    </message>
    <message>
        <source>Author of new tapes:</source>
        <translation>Autor neuer Kassetten:</translation>
    </message>
    <message>
        <source>Choose…</source>
        <translation>Auswählen…</translation>
    </message>
    <message>
        <source>Tape library:</source>
        <translation>Kassettensammlung:</translation>
    </message>
    <message>
        <source>Enable global hot keys</source>
        <translation>Globale Tastenkürzel aktivieren</translation>
    </message>
    <message>
        <source>Record</source>
        <translation>Aufnehmen</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Stopp</translation>
    </message>
    <message>
        <source>Record from:</source>
        <translation>Aufnehmen von:</translation>
    </message>
    <message>
        <source>Play to:</source>
        <translation>Wiedergabe über:</translation>
    </message>
    <message>
        <source>Play the input through while recording</source>
        <translation>Eingang während der Aufnahme mithören</translation>
    </message>
    <message>
        <source>Default Input Device (Auto)</source>
        <translation>Standard-Eingabegerät (automatisch)</translation>
    </message>
    <message>
        <source>Default Output Device (Auto)</source>
        <translation>Standard-Ausgabegerät (automatisch)</translation>
    </message>
    <message>
        <source>On Channels:</source>
        <translation>Auf den Kanälen:</translation>
    </message>
    <message>
        <source>On Channel:</source>
        <translation>Auf Kanal:</translation>
    </message>
    <message>
        <source>Choose the Tape Library Folder</source>
        <translation>Ordner der Kassettensammlung auswählen</translation>
    </message>
</context>
<context>
    <name>spindrel::QualityView</name>
    <message>
        <source>Recording Quality</source>
        <translation>Aufnahmequalität</translation>
    </message>
</context>
<context>
    <name>spindrel::SegmentedTapeButtonView</name>
    <message>
        <source>REC</source>
        <translation>REC</translation>
    </message>
    <message>
        <source>PLAY</source>
        <translation>PLAY</translation>
    </message>
    <message>
        <source>REW</source>
        <translation>REW</translation>
    </message>
    <message>
        <source>FFWD</source>
        <translation>FFWD</translation>
    </message>
    <message>
        <source>STOP</source>
        <translation>STOP</translation>
    </message>
    <message>
        <source>PAUSE</source>
        <translation>PAUSE</translation>
    </message>
    <message>
        <source>Transport</source>
        <translation>Laufwerk</translation>
    </message>
    <message>
        <source>Record</source>
        <translation>Aufnehmen</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>Wiedergeben</translation>
    </message>
    <message>
        <source>Rewind</source>
        <translation>Zurückspulen</translation>
    </message>
    <message>
        <source>Fast Forward</source>
        <translation>Vorspulen</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Stopp</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
</context>
<context>
    <name>spindrel::SoundServerNotice</name>
    <message>
        <source>The sound server is not running. Spindrel will reconnect when it is back.</source>
        <translation>Der Soundserver läuft nicht. Spindrel verbindet sich wieder, sobald er zurück ist.</translation>
    </message>
    <message>
        <source>The sound server is not responding. Spindrel will carry on when it answers again.</source>
        <translation>Der Soundserver antwortet nicht. Spindrel macht weiter, sobald er wieder antwortet.</translation>
    </message>
</context>
<context>
    <name>spindrel::SpindrelSoftwarePlayThroughManager</name>
    <message>
        <source>Play-through is on again, from “%1” to “%2”.</source>
        <translation>Das Mithören ist wieder an, von „%1“ nach „%2“.</translation>
    </message>
    <message>
        <source>Play-through stopped: no input device is available.</source>
        <translation>Das Mithören wurde beendet: Kein Eingabegerät ist verfügbar.</translation>
    </message>
    <message>
        <source>Play-through stopped: the input device “%1” is not available. It starts again when the device is back.</source>
        <translation>Das Mithören wurde beendet: Das Eingabegerät „%1“ ist nicht verfügbar. Es beginnt wieder, sobald das Gerät zurück ist.</translation>
    </message>
    <message>
        <source>Play-through stopped: no output device is available.</source>
        <translation>Das Mithören wurde beendet: Kein Ausgabegerät ist verfügbar.</translation>
    </message>
    <message>
        <source>Play-through stopped: the output device “%1” is not available. It starts again when the device is back.</source>
        <translation>Das Mithören wurde beendet: Das Ausgabegerät „%1“ ist nicht verfügbar. Es beginnt wieder, sobald das Gerät zurück ist.</translation>
    </message>
    <message>
        <source>Play-through stopped: the sound server is not available. It starts again when the server is back.</source>
        <translation>Das Mithören wurde beendet: Der Soundserver ist nicht verfügbar. Es beginnt wieder, sobald der Server zurück ist.</translation>
    </message>
</context>
<context>
    <name>spindrel::StereoView</name>
    <message>
        <source>Mono Recording Only</source>
        <translation>Nur Mono-Aufnahme</translation>
    </message>
    <message>
        <source>Your currently chosen input device only records in mono. Choose another device in the preferences if you require stereo recording.</source>
        <translation>Das gewählte Eingabegerät nimmt nur in Mono auf. Wählen Sie in den Einstellungen ein anderes Gerät, wenn Sie in Stereo aufnehmen möchten.</translation>
    </message>
    <message>
        <source>Channels</source>
        <translation>Kanäle</translation>
    </message>
    <message>
        <source>Stereo</source>
        <translation>Stereo</translation>
    </message>
    <message>
        <source>Mono</source>
        <translation>Mono</translation>
    </message>
</context>
<context>
    <name>spindrel::Tape</name>
    <message>
        <source>“%1” couldn’t be renamed to “%2”: %3</source>
        <translation>„%1“ konnte nicht in „%2“ umbenannt werden: %3</translation>
    </message>
</context>
<context>
    <name>spindrel::TapeBoxSearchField</name>
    <message>
        <source>Search</source>
        <translation>Suchen</translation>
    </message>
</context>
<context>
    <name>spindrel::TapeBoxView</name>
    <message>
        <source>Move Tape to Trash</source>
        <translation>Kassette in den Papierkorb legen</translation>
    </message>
    <message>
        <source>Email Tape…</source>
        <translation>Kassette per E-Mail senden…</translation>
    </message>
    <message>
        <source>Send to YouTube…</source>
        <translation>An YouTube senden…</translation>
    </message>
    <message>
        <source>Add Tape to Music Library</source>
        <translation>Kassette zur Musiksammlung hinzufügen</translation>
    </message>
    <message>
        <source>Open Library Folder</source>
        <translation>Bibliotheksordner öffnen</translation>
    </message>
    <message>
        <source>Show in Folder</source>
        <translation>Im Ordner zeigen</translation>
    </message>
</context>
<context>
    <name>spindrel::TapeBoxViewController</name>
    <message>
        <source>No tapes match</source>
        <translation>Keine passenden Kassetten</translation>
    </message>
</context>
<context>
    <name>spindrel::TapeExport</name>
    <message>
        <source>“%1” couldn’t be exported to “%2”: %3</source>
        <translation>„%1“ konnte nicht nach „%2“ exportiert werden: %3</translation>
    </message>
    <message>
        <source>the tape’s file no longer exists.</source>
        <translation>die Datei der Kassette existiert nicht mehr.</translation>
    </message>
    <message>
        <source>that is the tape’s own file.</source>
        <translation>das ist die Datei der Kassette selbst.</translation>
    </message>
    <message>
        <source>a file of that name is already there.</source>
        <translation>dort liegt bereits eine Datei mit diesem Namen.</translation>
    </message>
    <message>
        <source>a folder of that name is already there.</source>
        <translation>dort liegt bereits ein Ordner mit diesem Namen.</translation>
    </message>
    <message>
        <source>the export was cancelled.</source>
        <translation>der Export wurde abgebrochen.</translation>
    </message>
</context>
<context>
    <name>spindrel::TapeLibraryArrayController</name>
    <message>
        <source>“%1” couldn’t be copied to “%2”: %3</source>
        <translation>„%1“ konnte nicht nach „%2“ kopiert werden: %3</translation>
    </message>
    <message>
        <source>Untitled</source>
        <translation>Unbenannt</translation>
    </message>
    <message>
        <source>“%1” couldn’t be imported: it is not a regular file.</source>
        <translation>„%1“ konnte nicht importiert werden: Sie ist keine gewöhnliche Datei.</translation>
    </message>
    <message>
        <source>the import was cancelled.</source>
        <translation>der Import wurde abgebrochen.</translation>
    </message>
</context>
<context>
    <name>spindrel::TapeNotesEditor</name>
    <message>
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
    <message>
        <source>Notes</source>
        <translation>Notizen</translation>
    </message>
</context>
<context>
    <name>spindrel::TapeView</name>
    <message>
        <source>Edit Title</source>
        <translation>Titel bearbeiten</translation>
    </message>
    <message>
        <source>Edit Notes</source>
        <translation>Notizen bearbeiten</translation>
    </message>
    <message>
        <source>Change Color</source>
        <translation>Farbe wechseln</translation>
    </message>
    <message>
        <source>Cassette</source>
        <translation>Kassette</translation>
    </message>
    <message>
        <source>No tape</source>
        <translation>Keine Kassette</translation>
    </message>
</context>
<context>
    <name>spindrel::TimeView</name>
    <message>
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
</context>
<context>
    <name>spindrel::Trash</name>
    <message>
        <source>“%1” can’t be moved to the trash because it no longer exists.</source>
        <translation>„%1“ kann nicht in den Papierkorb verschoben werden, weil es nicht mehr existiert.</translation>
    </message>
    <message>
        <source>“%1” can’t be moved to the trash: the trash folder “%2” can’t be made (%3).</source>
        <translation>„%1“ kann nicht in den Papierkorb verschoben werden: Der Papierkorb-Ordner „%2“ kann nicht angelegt werden (%3).</translation>
    </message>
    <message>
        <source>“%1” can’t be moved to the trash (%2).</source>
        <translation>„%1“ kann nicht in den Papierkorb verschoben werden (%2).</translation>
    </message>
    <message>
        <source>“%1” can’t be moved to the trash: no free name is left in it.</source>
        <translation>„%1“ kann nicht in den Papierkorb verschoben werden: Dort ist kein freier Name mehr übrig.</translation>
    </message>
</context>
<context>
    <name>spindrel::Updater</name>
    <message>
        <source>No update feed is configured.</source>
        <translation>Es ist kein Update-Feed eingerichtet.</translation>
    </message>
    <message>
        <source>The update feed cannot be read: %1</source>
        <translation>Der Update-Feed kann nicht gelesen werden: %1</translation>
    </message>
    <message>
        <source>An error occurred in retrieving update information. Please try again later.</source>
        <translation>Beim Abrufen der Update-Informationen ist ein Fehler aufgetreten. Bitte versuchen Sie es später erneut.</translation>
    </message>
</context>
<context>
    <name>spindrel::VORLExtendedAudioFileRecorder</name>
    <message>
        <source>Recording from %1 stopped: the device is gone.</source>
        <translation>Die Aufnahme von %1 wurde beendet: Das Gerät ist fort.</translation>
    </message>
</context>
<context>
    <name>spindrel::VolumeView</name>
    <message>
        <source>Volume</source>
        <translation>Lautstärke</translation>
    </message>
</context>
<context>
    <name>spindrel::WindowController</name>
    <message>
        <source>Import Tapes</source>
        <translation>Kassetten importieren</translation>
    </message>
    <message>
        <source>Export Tape</source>
        <translation>Kassette exportieren</translation>
    </message>
    <message>
        <source>Spindrel</source>
        <translation>Spindrel</translation>
    </message>
    <message>
        <source>Spindrel could not play the tape: %1</source>
        <translation>Spindrel konnte die Kassette nicht abspielen: %1</translation>
    </message>
    <message>
        <source>Spindrel could not record: %1</source>
        <translation>Spindrel konnte nicht aufnehmen: %1</translation>
    </message>
    <message>
        <source>the recorder did not start</source>
        <translation>das Aufnahmegerät ist nicht angelaufen</translation>
    </message>
    <message>
        <source>The recording could not go on: %1. What was recorded so far is kept.</source>
        <translation>Die Aufnahme konnte nicht fortgesetzt werden: %1. Das bisher Aufgenommene bleibt erhalten.</translation>
    </message>
    <message>
        <source>Spindrel: %1</source>
        <translation>Spindrel: %1</translation>
    </message>
    <message>
        <source>“%1” already exists. Do you want to replace it?</source>
        <translation>„%1“ existiert bereits. Möchten Sie es ersetzen?</translation>
    </message>
    <message>
        <source>Replacing it overwrites its contents with the tape.</source>
        <translation>Beim Ersetzen wird der Inhalt mit der Kassette überschrieben.</translation>
    </message>
    <message>
        <source>Replace</source>
        <translation>Ersetzen</translation>
    </message>
    <message>
        <source>Playback stopped: the output device “%1” is gone.</source>
        <translation>Wiedergabe angehalten: Das Ausgabegerät „%1“ ist nicht mehr da.</translation>
    </message>
    <message>
        <source>Choose Folder…</source>
        <translation>Ordner wählen …</translation>
    </message>
    <message>
        <source>Choose a Folder for the Tapes</source>
        <translation>Einen Ordner für die Bänder wählen</translation>
    </message>
    <message>
        <source>%1 What was recorded so far is kept.</source>
        <translation>%1 Was bisher aufgenommen wurde, bleibt erhalten.</translation>
    </message>
    <message>
        <source>Saving the tapes’ changes…</source>
        <translation>Die Änderungen der Kassetten werden gesichert…</translation>
    </message>
    <message>
        <source>Loading tapes… %1 of %2</source>
        <translation>Kassetten werden geladen… %1 von %2</translation>
    </message>
    <message>
        <source>Saving tapes… %1 of %2</source>
        <translation>Kassetten werden gesichert… %1 von %2</translation>
    </message>
    <message>
        <source>Copying tapes…</source>
        <translation>Kassetten werden kopiert…</translation>
    </message>
    <message>
        <source>Importing tapes… %1 of %2</source>
        <translation>Kassetten werden importiert… %1 von %2</translation>
    </message>
    <message>
        <source>Exporting tapes… %1 of %2</source>
        <translation>Kassetten werden exportiert… %1 von %2</translation>
    </message>
    <message>
        <source>Stop Copying</source>
        <translation>Kopieren beenden</translation>
    </message>
</context>
<context>
    <name>spindrel::YouTubeAuthorizer</name>
    <message>
        <source>No YouTube client identifier is configured.</source>
        <translation>Es ist keine YouTube-Client-ID eingerichtet.</translation>
    </message>
    <message>
        <source>The web browser could not be opened.</source>
        <translation>Der Webbrowser konnte nicht geöffnet werden.</translation>
    </message>
    <message>
        <source>This sign-in did not come from Spindrel. Please try again.</source>
        <translation>Diese Anmeldung stammt nicht von Spindrel. Bitte versuchen Sie es erneut.</translation>
    </message>
    <message>
        <source>The sign-in answer did not match the request.</source>
        <translation>Die Antwort auf die Anmeldung passt nicht zur Anfrage.</translation>
    </message>
    <message>
        <source>Spindrel was not given access to YouTube. You can close this window.</source>
        <translation>Spindrel hat keinen Zugriff auf YouTube erhalten. Sie können dieses Fenster schließen.</translation>
    </message>
    <message>
        <source>Spindrel is signed in to YouTube. You can close this window and return to Spindrel.</source>
        <translation>Spindrel ist bei YouTube angemeldet. Sie können dieses Fenster schließen und zu Spindrel zurückkehren.</translation>
    </message>
    <message>
        <source>The sign-in service gave no access.</source>
        <translation>Der Anmeldedienst hat keinen Zugriff gewährt.</translation>
    </message>
    <message>
        <source>Not signed in to YouTube.</source>
        <translation>Nicht bei YouTube angemeldet.</translation>
    </message>
    <message>
        <source>its sign-in service answered %1 %2</source>
        <translation>sein Anmeldedienst antwortete %1 %2</translation>
    </message>
    <message>
        <source>YouTube no longer accepts this sign-in (%1). Please sign in again.</source>
        <translation>YouTube akzeptiert diese Anmeldung nicht mehr (%1). Bitte melden Sie sich erneut an.</translation>
    </message>
</context>
<context>
    <name>spindrel::YouTubeService</name>
    <message>
        <source>no answer within %1 s</source>
        <translation>keine Antwort innerhalb von %1 s</translation>
    </message>
    <message>
        <source>YouTube could not be reached: %1</source>
        <translation>YouTube war nicht erreichbar: %1</translation>
    </message>
    <message>
        <source>YouTube refused the request: %1</source>
        <translation>YouTube hat die Anfrage abgelehnt: %1</translation>
    </message>
    <message>
        <source>it answered %1 %2</source>
        <translation>es antwortete %1 %2</translation>
    </message>
</context>
<context>
    <name>spindrel::YouTubeUploadTicket</name>
    <message>
        <source>The upload failed.</source>
        <translation>Das Hochladen ist fehlgeschlagen.</translation>
    </message>
    <message>
        <source>%1 min</source>
        <translation>%1 min</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>YouTube let the upload session expire; starting again</source>
        <translation>YouTube hat die Upload-Sitzung verfallen lassen; es wird neu begonnen</translation>
    </message>
    <message>
        <source>%1. Spindrel waited %2 for the network and stopped the upload.</source>
        <translation>%1. Spindrel hat %2 auf das Netzwerk gewartet und den Upload abgebrochen.</translation>
    </message>
</context>
<context>
    <name>spindrel::YouTubeWindowController</name>
    <message>
        <source>YouTube</source>
        <translation>YouTube</translation>
    </message>
    <message>
        <source>Created with Spindrel</source>
        <translation>Erstellt mit Spindrel</translation>
    </message>
    <message>
        <source>Sign Out</source>
        <translation>Abmelden</translation>
    </message>
    <message>
        <source>Sign In</source>
        <translation>Anmelden</translation>
    </message>
    <message>
        <source>Signed in as %1</source>
        <translation>Angemeldet als %1</translation>
    </message>
    <message>
        <source>Cancel Sign In</source>
        <translation>Anmeldung abbrechen</translation>
    </message>
    <message>
        <source>Fields Missing</source>
        <translation>Fehlende Angaben</translation>
    </message>
    <message>
        <source>All fields must be filled out to upload your video.</source>
        <translation>Zum Hochladen Ihres Videos müssen alle Felder ausgefüllt sein.</translation>
    </message>
    <message>
        <source>Creating video from tape…</source>
        <translation>Video wird aus der Kassette erstellt…</translation>
    </message>
    <message>
        <source>Upload Failed</source>
        <translation>Hochladen fehlgeschlagen</translation>
    </message>
    <message>
        <source>Uploading to YouTube…</source>
        <translation>Wird auf YouTube hochgeladen…</translation>
    </message>
    <message>
        <source>Need an account?</source>
        <translation>Noch kein Konto?</translation>
    </message>
    <message>
        <source>No keyring is available, so this sign-in lasts only until Spindrel quits.</source>
        <translation>Es ist kein Schlüsselbund verfügbar, daher gilt diese Anmeldung nur, bis Spindrel beendet wird.</translation>
    </message>
    <message>
        <source>Keywords, separated by commas</source>
        <translation>Stichwörter, durch Kommas getrennt</translation>
    </message>
    <message>
        <source>Make this video private</source>
        <translation>Dieses Video privat machen</translation>
    </message>
    <message>
        <source>Title:</source>
        <translation>Titel:</translation>
    </message>
    <message>
        <source>Description:</source>
        <translation>Beschreibung:</translation>
    </message>
    <message>
        <source>Keywords:</source>
        <translation>Stichwörter:</translation>
    </message>
    <message>
        <source>Category:</source>
        <translation>Kategorie:</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Upload</source>
        <translation>Hochladen</translation>
    </message>
    <message>
        <source>Your video has been uploaded to YouTube. It may take a few minutes before it can be watched.</source>
        <translation>Ihr Video wurde auf YouTube hochgeladen. Es kann einige Minuten dauern, bis es angesehen werden kann.</translation>
    </message>
    <message>
        <source>Visit My Videos</source>
        <translation>Meine Videos öffnen</translation>
    </message>
    <message>
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
    <message>
        <source>Waiting for the network…</source>
        <translation>Warten auf das Netzwerk…</translation>
    </message>
    <message>
        <source>YouTube sent no categories to choose from.</source>
        <translation>YouTube hat keine auswählbaren Kategorien geschickt.</translation>
    </message>
    <message>
        <source>The movie is kept at %1.</source>
        <translation>Der Film liegt weiterhin unter %1.</translation>
    </message>
</context>
</TS>
