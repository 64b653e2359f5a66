<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name>AccountPanel</name>
    <message>
        <source>included</source>
        <translation>enthalten</translation>
    </message>
    <message>
        <source>trial</source>
        <translation>zur Probe</translation>
    </message>
    <message>
        <source>not included</source>
        <translation>nicht enthalten</translation>
    </message>
    <message>
        <source>not known</source>
        <translation>nicht bekannt</translation>
    </message>
    <message>
        <source>Account</source>
        <translation>Konto</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Mail address</source>
        <translation>Mailadresse</translation>
    </message>
    <message>
        <source>Storage in use</source>
        <translation>Belegter Speicher</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>Speicher</translation>
    </message>
    <message>
        <source>Services</source>
        <translation>Dienste</translation>
    </message>
    <message>
        <source>Signed in until %1</source>
        <translation>Angemeldet bis %1</translation>
    </message>
    <message>
        <source>d MMM yyyy, HH:mm</source>
        <translation>d. MMM yyyy, HH:mm</translation>
    </message>
    <message>
        <source>Nobody is signed in</source>
        <translation>Niemand ist angemeldet</translation>
    </message>
    <message>
        <source>Sign in here or in any other product of yours: all of them follow.</source>
        <translation>Melden Sie sich hier oder in einem anderen Ihrer Produkte an: Alle folgen.</translation>
    </message>
    <message>
        <source>%1 of %2 in use (%3 %)</source>
        <translation>%1 von %2 belegt (%3 %)</translation>
    </message>
    <message>
        <source>%1 – %2</source>
        <translation>%1 – %2</translation>
    </message>
    <message>
        <source>No service is included.</source>
        <translation>Kein Dienst ist enthalten.</translation>
    </message>
    <message>
        <source>–</source>
        <translation>–</translation>
    </message>
    <message>
        <source>Asking the web services …</source>
        <translation>Die Webdienste werden gefragt …</translation>
    </message>
    <message>
        <source>Not available right now. Refresh (F5) asks again.</source>
        <translation>Zurzeit nicht verfügbar. Aktualisieren (F5) fragt noch einmal.</translation>
    </message>
    <message>
        <source>Re&amp;fresh</source>
        <translation>A&amp;ktualisieren</translation>
    </message>
    <message>
        <source>Ask the web services again (F5)</source>
        <translation>Die Webdienste noch einmal fragen (F5)</translation>
    </message>
</context>
<context>
    <name>ActivityBar</name>
    <message>
        <source>Reading who is signed in …</source>
        <translation>Es wird gelesen, wer angemeldet ist …</translation>
    </message>
    <message>
        <source>Asking the account service for a sign-in page …</source>
        <translation>Der Kontodienst wird um eine Anmeldeseite gebeten …</translation>
    </message>
    <message>
        <source>Sign in on the page in your browser. When it says that you are signed in, choose Continue.</source>
        <translation>Melden Sie sich auf der Seite in Ihrem Browser an. Wenn sie sagt, dass Sie angemeldet sind, wählen Sie Fortfahren.</translation>
    </message>
    <message>
        <source>Completing the sign-in with the account service …</source>
        <translation>Die Anmeldung beim Kontodienst wird abgeschlossen …</translation>
    </message>
    <message>
        <source>Telling the account service that you sign out …</source>
        <translation>Der Kontodienst erfährt, dass Sie sich abmelden …</translation>
    </message>
    <message>
        <source>Asking the account service for a new access token …</source>
        <translation>Der Kontodienst wird um ein neues Zugriffstoken gebeten …</translation>
    </message>
    <message>
        <source>Asking the account service for a new OAuth2 token …</source>
        <translation>Der Kontodienst wird um ein neues OAuth2-Token gebeten …</translation>
    </message>
    <message>
        <source>Signing out of the present server and changing to the other …</source>
        <translation>Abmeldung vom jetzigen Server und Wechsel zum anderen …</translation>
    </message>
    <message>
        <source>Storing the proxy …</source>
        <translation>Der Proxy wird gespeichert …</translation>
    </message>
    <message>
        <source>Removing the stored proxy …</source>
        <translation>Der gespeicherte Proxy wird entfernt …</translation>
    </message>
    <message>
        <source>&amp;Continue</source>
        <translation>&amp;Fortfahren</translation>
    </message>
    <message>
        <source>The browser says that I am signed in</source>
        <translation>Der Browser sagt, dass ich angemeldet bin</translation>
    </message>
    <message>
        <source>Open page &amp;again</source>
        <translation>&amp;Seite erneut öffnen</translation>
    </message>
    <message>
        <source>Open the sign-in page in the browser again</source>
        <translation>Die Anmeldeseite noch einmal im Browser öffnen</translation>
    </message>
    <message>
        <source>Ca&amp;ncel</source>
        <translation>Abbre&amp;chen</translation>
    </message>
    <message>
        <source>Give up what is under way (Escape)</source>
        <translation>Den laufenden Vorgang aufgeben (Escape)</translation>
    </message>
    <message>
        <source>What this product is waiting for</source>
        <translation>Worauf dieses Produkt wartet</translation>
    </message>
    <message>
        <source>Work under way</source>
        <translation>Laufender Vorgang</translation>
    </message>
    <message>
        <source>%1 (%2 s)</source>
        <translation>%1 (%2 s)</translation>
    </message>
</context>
<context>
    <name>EventOrigin</name>
    <message>
        <source>this process</source>
        <translation>dieser Prozess</translation>
    </message>
    <message>
        <source>another process</source>
        <translation>anderer Prozess</translation>
    </message>
    <message>
        <source>not told</source>
        <translation>nicht bekannt</translation>
    </message>
</context>
<context>
    <name>EventsPanel</name>
    <message>
        <source>Events</source>
        <translation>Ereignisse</translation>
    </message>
    <message>
        <source>What happened, the latest first</source>
        <translation>Was geschehen ist, das Neueste zuerst</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <source>Event</source>
        <translation>Ereignis</translation>
    </message>
    <message>
        <source>From</source>
        <translation>Von</translation>
    </message>
    <message>
        <source>Product</source>
        <translation>Produkt</translation>
    </message>
</context>
<context>
    <name>FailureTexts</name>
    <message>
        <source>The web services could not be started.</source>
        <translation>Die Webdienste konnten nicht gestartet werden.</translation>
    </message>
    <message>
        <source>Check that WebServices.logconfig is next to the library, then start this program again.</source>
        <translation>Prüfen Sie, ob WebServices.logconfig neben der Bibliothek liegt, und starten Sie dieses Programm neu.</translation>
    </message>
    <message>
        <source>This product is not set up for the web services.</source>
        <translation>Dieses Produkt ist für die Webdienste nicht eingerichtet.</translation>
    </message>
    <message>
        <source>Start it with its consumer key and secret (--key, --secret).</source>
        <translation>Starten Sie es mit seinem Schlüssel und Geheimnis (--key, --secret).</translation>
    </message>
    <message>
        <source>The web services are not ready for a sign-in.</source>
        <translation>Die Webdienste sind für eine Anmeldung nicht bereit.</translation>
    </message>
    <message>
        <source>Check the folder given with --support: it must hold the URL file of the server.</source>
        <translation>Prüfen Sie den Ordner, der mit --support angegeben ist: Er muss die URL-Datei des Servers enthalten.</translation>
    </message>
    <message>
        <source>The account service could not be reached.</source>
        <translation>Der Kontodienst war nicht erreichbar.</translation>
    </message>
    <message>
        <source>Check the network connection and the proxy (Settings), then sign in again.</source>
        <translation>Prüfen Sie die Netzverbindung und den Proxy (Einstellungen) und melden Sie sich dann noch einmal an.</translation>
    </message>
    <message>
        <source>No secure connection to the account service could be made.</source>
        <translation>Es kam keine sichere Verbindung zum Kontodienst zustande.</translation>
    </message>
    <message>
        <source>The clock of this computer is wrong.</source>
        <translation>Die Uhr dieses Computers geht falsch.</translation>
    </message>
    <message>
        <source>Set date, time and time zone, then sign in again.</source>
        <translation>Stellen Sie Datum, Uhrzeit und Zeitzone ein und melden Sie sich dann noch einmal an.</translation>
    </message>
    <message>
        <source>The account service refused to begin a sign-in (status %1).</source>
        <translation>Der Kontodienst hat den Beginn einer Anmeldung abgelehnt (Status %1).</translation>
    </message>
    <message>
        <source>Try again in a minute. If it stays so, this product&apos;s consumer key may not be known there.</source>
        <translation>Versuchen Sie es in einer Minute noch einmal. Bleibt es dabei, ist der Schlüssel dieses Produkts dort vielleicht nicht bekannt.</translation>
    </message>
    <message>
        <source>The account service gave an answer that makes no sense.</source>
        <translation>Der Kontodienst hat eine unverständliche Antwort gegeben.</translation>
    </message>
    <message>
        <source>The sign-in could not be begun.</source>
        <translation>Die Anmeldung konnte nicht beginnen.</translation>
    </message>
    <message>
        <source>The log says why. Sign in again after that.</source>
        <translation>Das Protokoll nennt den Grund. Melden Sie sich danach noch einmal an.</translation>
    </message>
    <message>
        <source>No web browser could be opened.</source>
        <translation>Es konnte kein Browser geöffnet werden.</translation>
    </message>
    <message>
        <source>Set a standard browser for this computer, then choose Open page again.</source>
        <translation>Stellen Sie für diesen Computer einen Standardbrowser ein und wählen Sie dann Seite erneut öffnen.</translation>
    </message>
    <message>
        <source>You are not signed in yet.</source>
        <translation>Sie sind noch nicht angemeldet.</translation>
    </message>
    <message>
        <source>Finish the page in the browser until it says that you are signed in, then choose Continue. If the page was closed or is too old, cancel and sign in again.</source>
        <translation>Führen Sie die Seite im Browser zu Ende, bis sie sagt, dass Sie angemeldet sind, und wählen Sie dann Fortfahren. Ist die Seite geschlossen oder zu alt, brechen Sie ab und melden Sie sich noch einmal an.</translation>
    </message>
    <message>
        <source>You could not be signed out.</source>
        <translation>Sie konnten nicht abgemeldet werden.</translation>
    </message>
    <message>
        <source>Another part of this product may still need the sign-in. Try again when its work is done.</source>
        <translation>Vielleicht braucht ein anderer Teil dieses Produkts die Anmeldung noch. Versuchen Sie es noch einmal, wenn er fertig ist.</translation>
    </message>
    <message>
        <source>The %1 could not be renewed.</source>
        <translation>Das %1 konnte nicht erneuert werden.</translation>
    </message>
    <message>
        <source>The present one stays in use until it expires. Check the network connection, then try again.</source>
        <translation>Das jetzige gilt weiter, bis es abläuft. Prüfen Sie die Netzverbindung und versuchen Sie es dann noch einmal.</translation>
    </message>
    <message>
        <source>The server was not changed to %1.</source>
        <translation>Der Server wurde nicht zu %1 gewechselt.</translation>
    </message>
    <message>
        <source>Check that its URL file is in the folder given with --support. The server before is still in use.</source>
        <translation>Prüfen Sie, ob seine URL-Datei in dem Ordner ist, der mit --support angegeben ist. Der bisherige Server wird weiter verwendet.</translation>
    </message>
    <message>
        <source>The proxy needs a host, a port and a user.</source>
        <translation>Der Proxy braucht Host, Port und Benutzer.</translation>
    </message>
    <message>
        <source>Fill in what is missing, then store it again.</source>
        <translation>Ergänzen Sie, was fehlt, und speichern Sie ihn dann noch einmal.</translation>
    </message>
    <message>
        <source>The proxy could not be stored.</source>
        <translation>Der Proxy konnte nicht gespeichert werden.</translation>
    </message>
    <message>
        <source>Check that the disk is not full and that you may write to your data folder.</source>
        <translation>Prüfen Sie, ob die Platte voll ist und ob Sie in Ihren Datenordner schreiben dürfen.</translation>
    </message>
    <message>
        <source>The stored proxy could not be removed.</source>
        <translation>Der gespeicherte Proxy konnte nicht entfernt werden.</translation>
    </message>
    <message>
        <source>Another product may be writing. Try again; if it stays so, check that you may write to your data folder.</source>
        <translation>Vielleicht schreibt gerade ein anderes Produkt. Versuchen Sie es noch einmal. Bleibt es dabei, prüfen Sie, ob Sie in Ihren Datenordner schreiben dürfen.</translation>
    </message>
    <message>
        <source>%1 Your unsaved note comes back then.</source>
        <translation>%1 Ihre ungespeicherte Notiz kommt dann zurück.</translation>
    </message>
    <message>
        <source>If this network has a sign-in page, open any web page in your browser and sign in there first. Otherwise name the authority of the service with --ca.</source>
        <translation>Hat dieses Netz eine Anmeldeseite, öffnen Sie irgendeine Webseite in Ihrem Browser und melden Sie sich zuerst dort an. Sonst nennen Sie den Aussteller des Dienstes mit --ca.</translation>
    </message>
    <message>
        <source>Something else may answer in its place, such as the sign-in page of a hotel network. Open any web page in your browser, sign in to the network there, then sign in here again.</source>
        <translation>Vielleicht antwortet etwas anderes an seiner Stelle, etwa die Anmeldeseite eines Hotelnetzes. Öffnen Sie irgendeine Webseite in Ihrem Browser, melden Sie sich dort beim Netz an und dann hier noch einmal.</translation>
    </message>
    <message>
        <source>The note could not be saved.</source>
        <translation>Die Notiz konnte nicht gespeichert werden.</translation>
    </message>
    <message>
        <source>Copy it to another place. Check that the disk is not full and that you may write to your data folder.</source>
        <translation>Kopieren Sie sie an einen anderen Ort. Prüfen Sie, ob die Platte voll ist und ob Sie in Ihren Datenordner schreiben dürfen.</translation>
    </message>
    <message>
        <source>Your sign-in has expired.</source>
        <translation>Ihre Anmeldung ist abgelaufen.</translation>
    </message>
    <message>
        <source>Choose Sign in to go on here and in all your other products.</source>
        <translation>Wählen Sie Anmelden, um hier und in allen Ihren anderen Produkten weiterzuarbeiten.</translation>
    </message>
    <message>
        <source>Another product has ended your sign-in.</source>
        <translation>Ein anderes Produkt hat Ihre Anmeldung beendet.</translation>
    </message>
    <message>
        <source>All your products share one sign-in. Choose Sign in to go on.</source>
        <translation>Alle Ihre Produkte teilen eine Anmeldung. Wählen Sie Anmelden, um weiterzuarbeiten.</translation>
    </message>
</context>
<context>
    <name>HeaderPanel</name>
    <message>
        <source>Starting …</source>
        <translation>Start …</translation>
    </message>
    <message>
        <source>&amp;Sign in</source>
        <translation>&amp;Anmelden</translation>
    </message>
    <message>
        <source>Sign in with the web browser, for all products</source>
        <translation>Mit dem Browser anmelden, für alle Produkte</translation>
    </message>
    <message>
        <source>Sign &amp;out</source>
        <translation>A&amp;bmelden</translation>
    </message>
    <message>
        <source>Sign out of all products on this computer</source>
        <translation>Von allen Produkten auf diesem Computer abmelden</translation>
    </message>
    <message>
        <source>Who is signed in</source>
        <translation>Wer angemeldet ist</translation>
    </message>
    <message>
        <source>Signed in as %1 · %2</source>
        <translation>Angemeldet als %1 · %2</translation>
    </message>
    <message>
        <source>Nobody is signed in · %1</source>
        <translation>Niemand ist angemeldet · %1</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>O&amp;verview</source>
        <translation>Übersich&amp;t</translation>
    </message>
    <message>
        <source>Settin&amp;gs</source>
        <translation>Ei&amp;nstellungen</translation>
    </message>
    <message>
        <source>Note&amp;book</source>
        <translation>Noti&amp;zbuch</translation>
    </message>
</context>
<context>
    <name>NotePanel</name>
    <message>
        <source>Note</source>
        <translation>Notiz</translation>
    </message>
    <message>
        <source>Sav&amp;e</source>
        <translation>Speiche&amp;rn</translation>
    </message>
    <message>
        <source>Save the note (Ctrl+S)</source>
        <translation>Die Notiz speichern (Strg+S)</translation>
    </message>
    <message>
        <source>The note has changes that are not saved.</source>
        <translation>Die Notiz hat Änderungen, die nicht gespeichert sind.</translation>
    </message>
    <message>
        <source>The note is saved.</source>
        <translation>Die Notiz ist gespeichert.</translation>
    </message>
    <message>
        <source>Sign in to write a note. Each user has their own.</source>
        <translation>Melden Sie sich an, um eine Notiz zu schreiben. Jeder Benutzer hat seine eigene.</translation>
    </message>
</context>
<context>
    <name>NoticeBar</name>
    <message>
        <source>Open &amp;log</source>
        <translation>&amp;Protokoll öffnen</translation>
    </message>
    <message>
        <source>Open the log of the web services, which tells more</source>
        <translation>Das Protokoll der Webdienste öffnen, das mehr sagt</translation>
    </message>
    <message>
        <source>Dis&amp;miss</source>
        <translation>Schl&amp;ießen</translation>
    </message>
    <message>
        <source>Close this message</source>
        <translation>Diese Meldung schließen</translation>
    </message>
</context>
<context>
    <name>Product</name>
    <message>
        <source>Production</source>
        <translation>Produktion</translation>
    </message>
    <message>
        <source>Staging</source>
        <translation>Vorstufe</translation>
    </message>
    <message>
        <source>Development</source>
        <translation>Entwicklung</translation>
    </message>
    <message>
        <source>no server</source>
        <translation>kein Server</translation>
    </message>
    <message>
        <source>access token</source>
        <translation>Zugriffstoken</translation>
    </message>
    <message>
        <source>OAuth2 token</source>
        <translation>OAuth2-Token</translation>
    </message>
</context>
<context>
    <name>SettingsPanel</name>
    <message>
        <source>S&amp;witch</source>
        <translation>&amp;Wechseln</translation>
    </message>
    <message>
        <source>Change to the chosen server</source>
        <translation>Zum gewählten Server wechseln</translation>
    </message>
    <message>
        <source>S&amp;tore</source>
        <translation>Speiche&amp;rn</translation>
    </message>
    <message>
        <source>Use this proxy and keep it for all products</source>
        <translation>Diesen Proxy verwenden und für alle Produkte behalten</translation>
    </message>
    <message>
        <source>Clea&amp;r</source>
        <translation>&amp;Löschen</translation>
    </message>
    <message>
        <source>Forget the stored proxy and use none</source>
        <translation>Den gespeicherten Proxy vergessen und keinen verwenden</translation>
    </message>
    <message>
        <source>Server</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>S&amp;erver:</source>
        <translation>Ser&amp;ver:</translation>
    </message>
    <message>
        <source>Proxy</source>
        <translation>Proxy</translation>
    </message>
    <message>
        <source>proxy.example.com</source>
        <translation>proxy.example.com</translation>
    </message>
    <message>
        <source>&amp;Host:</source>
        <translation>&amp;Host:</translation>
    </message>
    <message>
        <source>&amp;Port:</source>
        <translation>P&amp;ort:</translation>
    </message>
    <message>
        <source>&amp;User:</source>
        <translation>Ben&amp;utzer:</translation>
    </message>
    <message>
        <source>Passwor&amp;d:</source>
        <translation>&amp;Kennwort:</translation>
    </message>
    <message>
        <source>Switching signs you out of %1 in all products.</source>
        <translation>Der Wechsel meldet Sie in allen Produkten von %1 ab.</translation>
    </message>
    <message>
        <source>Products that run already stay on their server until they start again.</source>
        <translation>Produkte, die schon laufen, bleiben bis zum Neustart bei ihrem Server.</translation>
    </message>
    <message>
        <source>A proxy is stored for all products of yours, its password encrypted.</source>
        <translation>Ein Proxy ist für alle Ihre Produkte gespeichert, sein Kennwort verschlüsselt.</translation>
    </message>
    <message>
        <source>No proxy is stored.</source>
        <translation>Kein Proxy ist gespeichert.</translation>
    </message>
</context>
<context>
    <name>TokenView</name>
    <message>
        <source>Ask for a new %1 now</source>
        <translation>Jetzt ein neues %1 anfordern</translation>
    </message>
    <message>
        <source>expired</source>
        <translation>abgelaufen</translation>
    </message>
    <message>
        <source>at %1</source>
        <translation>um %1</translation>
    </message>
    <message>
        <source>expires at %1</source>
        <translation>läuft um %1 ab</translation>
    </message>
    <message>
        <source>now</source>
        <translation>jetzt</translation>
    </message>
    <message>
        <source>being renewed</source>
        <translation>wird erneuert</translation>
    </message>
    <message>
        <source>renewed at %1</source>
        <translation>wird um %1 erneuert</translation>
    </message>
    <message>
        <source>–</source>
        <translation>–</translation>
    </message>
    <message>
        <source>being asked for</source>
        <translation>wird angefordert</translation>
    </message>
    <message>
        <source>no token</source>
        <translation>kein Token</translation>
    </message>
    <message>
        <source>no renewal</source>
        <translation>keine Erneuerung</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1: %2</translation>
    </message>
</context>
<context>
    <name>TokensPanel</name>
    <message>
        <source>Tokens</source>
        <translation>Tokens</translation>
    </message>
    <message>
        <source>Access token</source>
        <translation>Zugriffstoken</translation>
    </message>
    <message>
        <source>&amp;Renew</source>
        <translation>&amp;Erneuern</translation>
    </message>
    <message>
        <source>OAuth2 token</source>
        <translation>OAuth2-Token</translation>
    </message>
    <message>
        <source>Rene&amp;w</source>
        <translation>Erne&amp;uern</translation>
    </message>
</context>
<context>
    <name>UnsavedWorkQuestion</name>
    <message>
        <source>Unsaved note</source>
        <translation>Ungespeicherte Notiz</translation>
    </message>
    <message>
        <source>Your note has changes that are not saved.</source>
        <translation>Ihre Notiz hat Änderungen, die nicht gespeichert sind.</translation>
    </message>
    <message>
        <source>You are still signed in. Save the note before you sign out of all your products?</source>
        <translation>Sie sind noch angemeldet. Möchten Sie die Notiz speichern, bevor Sie sich von allen Ihren Produkten abmelden?</translation>
    </message>
    <message>
        <source>&amp;Save and sign out</source>
        <translation>&amp;Speichern und abmelden</translation>
    </message>
    <message>
        <source>&amp;Discard and sign out</source>
        <translation>&amp;Verwerfen und abmelden</translation>
    </message>
    <message>
        <source>S&amp;tay signed in</source>
        <translation>Angemeldet &amp;bleiben</translation>
    </message>
</context>
</TS>
