// Français. Une espace insécable précède les deux-points et suit ou précède les guillemets.
#define TEXT_LANGUAGE LANG_FRENCH, SUBLANG_FRENCH

#define TEXT_DESTINATION "Dossier Exchange"
#define TEXT_NO_RIGHT_TO_POST "Vous n’êtes pas autorisé à publier des messages."
#define TEXT_NAME_EMPTY "Le nom du rapport ne peut pas être vide."
#define TEXT_FILE_NOT_OPEN "Impossible d’ouvrir le fichier %s\nCode d’erreur : %08X"
#define TEXT_INVALID_TYPE "Type d’exportation non valide."
#define TEXT_MAPI_NOT_LOADED "Impossible de charger MAPI.DLL. Vérifiez la présence et la version de MAPI.DLL."
#define TEXT_MAPI_NOT_INITIALISED "Impossible d’initialiser MAPI.DLL."
#define TEXT_NO_LOGON "Impossible d’ouvrir une session avec le profil Exchange."
#define TEXT_NO_PROFILE_NAME "Impossible d’obtenir le nom du profil Exchange."
#define TEXT_NO_RIGHT_TO_POST_FILE "Vous n’êtes pas autorisé à publier le fichier dans les dossiers Exchange."
#define TEXT_NOT_FOUND "Objet MAPI introuvable."
#define TEXT_NOT_SUPPORTED "Ce type de publication n’est pas pris en charge par le fournisseur de services de messagerie."
#define TEXT_PROFILE_CHOSEN "Aucun rapport ne peut être publié dans le profil « %s » lui-même. Sélectionnez un dossier."

#define TEXT_FONT_SIZE 8
#define TEXT_FONT "MS Sans Serif"

#define TEXT_OK "OK"
#define TEXT_CANCEL "Annuler"
#define TEXT_ABORT "Abandonner"

#define TEXT_FOLDER_CAPTION "Sélection d’un dossier"
#define TEXT_FOLDER_PROMPT "Sélectionnez un dossier ou un carnet d’adresses :"
#define TEXT_PROFILE "Profil :"
#define TEXT_FOLDER "Dossier :"

#define TEXT_TYPE_CAPTION "Exportation vers un dossier Exchange"
#define TEXT_TYPE_GROUP "En tant que"
#define TEXT_REPORT_INSTANCE "&Instance de rapport"
#define TEXT_FOLDER_REPORT "Rapport de &dossier"
#define TEXT_PERSONAL_REPORT "Rapport &personnel"

#define TEXT_NAME_CAPTION "Nom du rapport"
#define TEXT_NAME_PROMPT "Pour « xxxx.RPT » :"
