// Deutsch
#define TEXT_LANGUAGE LANG_GERMAN, SUBLANG_GERMAN

#define TEXT_DESTINATION "Exchange-Ordner"
#define TEXT_NO_RIGHT_TO_POST "Sie sind nicht berechtigt, Nachrichten zu veröffentlichen."
#define TEXT_NAME_EMPTY "Geben Sie einen Berichtsnamen ein."
#define TEXT_FILE_NOT_OPEN "Die Datei %s kann nicht geöffnet werden.\nFehlercode: %08X"
#define TEXT_INVALID_TYPE "Ungültiger Exporttyp."
#define TEXT_MAPI_NOT_LOADED "MAPI.DLL konnte nicht geladen werden. Prüfen Sie, ob MAPI.DLL vorhanden ist und die richtige Version hat."
#define TEXT_MAPI_NOT_INITIALISED "MAPI.DLL konnte nicht initialisiert werden."
#define TEXT_NO_LOGON "Die Anmeldung mit dem Exchange-Profil ist nicht möglich."
#define TEXT_NO_PROFILE_NAME "Der Name des Exchange-Profils kann nicht ermittelt werden."
#define TEXT_NO_RIGHT_TO_POST_FILE "Sie sind nicht berechtigt, die Datei in Exchange-Ordnern zu veröffentlichen."
#define TEXT_NOT_FOUND "Das MAPI-Objekt wurde nicht gefunden."
#define TEXT_NOT_SUPPORTED "Diese Art der Veröffentlichung wird vom Nachrichtendienst nicht unterstützt."
#define TEXT_PROFILE_CHOSEN "Im Profil „%s“ selbst kann kein Bericht abgelegt werden. Wählen Sie einen Ordner aus."

#define TEXT_FONT_SIZE 8
#define TEXT_FONT "MS Sans Serif"

#define TEXT_OK "OK"
#define TEXT_CANCEL "Abbrechen"
#define TEXT_ABORT "Beenden"

#define TEXT_FOLDER_CAPTION "Ordner auswählen"
#define TEXT_FOLDER_PROMPT "Ordner oder Adressbuch auswählen:"
#define TEXT_PROFILE "Profil:"
#define TEXT_FOLDER "Ordner:"

#define TEXT_TYPE_CAPTION "In Exchange-Ordner exportieren"
#define TEXT_TYPE_GROUP "Als"
#define TEXT_REPORT_INSTANCE "Berichts&instanz"
#define TEXT_FOLDER_REPORT "&Ordnerbericht"
#define TEXT_PERSONAL_REPORT "&Persönlicher Bericht"

#define TEXT_NAME_CAPTION "Berichtsnamen eingeben"
#define TEXT_NAME_PROMPT "Für „xxxx.RPT“:"
