// Italiano
#define TEXT_LANGUAGE LANG_ITALIAN, SUBLANG_ITALIAN

#define TEXT_DESTINATION "Cartella di Exchange"
#define TEXT_NO_RIGHT_TO_POST "Non si dispone dei diritti per pubblicare messaggi."
#define TEXT_NAME_EMPTY "Il nome del report non può essere vuoto."
#define TEXT_FILE_NOT_OPEN "Impossibile aprire il file %s\nCodice di errore: %08X"
#define TEXT_INVALID_TYPE "Tipo di esportazione non valido."
#define TEXT_MAPI_NOT_LOADED "Impossibile caricare MAPI.DLL. Verificare la presenza e la versione di MAPI.DLL."
#define TEXT_MAPI_NOT_INITIALISED "Impossibile inizializzare MAPI.DLL."
#define TEXT_NO_LOGON "Impossibile accedere con il profilo di Exchange."
#define TEXT_NO_PROFILE_NAME "Impossibile ottenere il nome del profilo di Exchange."
#define TEXT_NO_RIGHT_TO_POST_FILE "Non si dispone dei diritti per pubblicare il file nelle cartelle di Exchange."
#define TEXT_NOT_FOUND "Oggetto MAPI non trovato."
#define TEXT_NOT_SUPPORTED "Questo tipo di pubblicazione non è supportato dal provider del servizio di messaggistica."
#define TEXT_PROFILE_CHOSEN "Non è possibile pubblicare un report nel profilo ""%s"" stesso. Selezionare una cartella."

#define TEXT_FONT_SIZE 8
#define TEXT_FONT "MS Sans Serif"

#define TEXT_OK "OK"
#define TEXT_CANCEL "Annulla"
#define TEXT_ABORT "Interrompi"

#define TEXT_FOLDER_CAPTION "Selezione di una cartella"
#define TEXT_FOLDER_PROMPT "Selezionare una cartella o una rubrica:"
#define TEXT_PROFILE "Profilo:"
#define TEXT_FOLDER "Cartella:"

#define TEXT_TYPE_CAPTION "Esportazione in una cartella di Exchange"
#define TEXT_TYPE_GROUP "Come"
#define TEXT_REPORT_INSTANCE "&Istanza di report"
#define TEXT_FOLDER_REPORT "Report di &cartella"
#define TEXT_PERSONAL_REPORT "Report &personale"

#define TEXT_NAME_CAPTION "Nome del report"
#define TEXT_NAME_PROMPT "Per ""xxxx.RPT"":"
