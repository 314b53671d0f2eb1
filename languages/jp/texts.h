// 日本語
#define TEXT_LANGUAGE LANG_JAPANESE, SUBLANG_DEFAULT

#define TEXT_DESTINATION "Exchange フォルダー"
#define TEXT_NO_RIGHT_TO_POST "メッセージを投稿する権限がありません。"
#define TEXT_NAME_EMPTY "レポート名を入力してください。"
#define TEXT_FILE_NOT_OPEN "ファイル %s を開けません。\nエラー コード: %08X"
#define TEXT_INVALID_TYPE "エクスポートの種類が正しくありません。"
#define TEXT_MAPI_NOT_LOADED "MAPI.DLL を読み込めませんでした。MAPI.DLL の有無とバージョンを確認してください。"
#define TEXT_MAPI_NOT_INITIALISED "MAPI.DLL を初期化できませんでした。"
#define TEXT_NO_LOGON "Exchange プロファイルにログオンできません。"
#define TEXT_NO_PROFILE_NAME "Exchange プロファイル名を取得できません。"
#define TEXT_NO_RIGHT_TO_POST_FILE "Exchange フォルダーにファイルを投稿する権限がありません。"
#define TEXT_NOT_FOUND "MAPI オブジェクトが見つかりません。"
#define TEXT_NOT_SUPPORTED "このような投稿は、メッセージ サービス プロバイダーでサポートされていません。"
#define TEXT_PROFILE_CHOSEN "プロファイル「%s」そのものにはレポートを投稿できません。フォルダーを選択してください。"

#define TEXT_FONT_SIZE 9
#define TEXT_FONT "MS UI Gothic"

#define TEXT_OK "OK"
#define TEXT_CANCEL "キャンセル"
#define TEXT_ABORT "中止"

#define TEXT_FOLDER_CAPTION "フォルダーの選択"
#define TEXT_FOLDER_PROMPT "フォルダーまたはアドレス帳を選択:"
#define TEXT_PROFILE "プロファイル:"
#define TEXT_FOLDER "フォルダー:"

#define TEXT_TYPE_CAPTION "Exchange フォルダーへエクスポート"
#define TEXT_TYPE_GROUP "レポートの種類"
#define TEXT_REPORT_INSTANCE "インスタンス(&I)"
#define TEXT_FOLDER_REPORT "フォルダー(&F)"
#define TEXT_PERSONAL_REPORT "個人用(&P)"

#define TEXT_NAME_CAPTION "レポート名の入力"
#define TEXT_NAME_PROMPT "「xxxx.RPT」の名前:"
