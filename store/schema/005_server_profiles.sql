-- From this version on a profile's messages may be on a mail server, which older programs do not support.

-- The server's address. NULL: the messages are in this database, and the other columns are NULL, too.
ALTER TABLE profile ADD COLUMN server_url TEXT;
-- User name; empty: the secret is a token.
ALTER TABLE profile ADD COLUMN server_user TEXT;
-- Password or token, encrypted with the system's data protection. Empty: none is kept.
ALTER TABLE profile ADD COLUMN server_secret BLOB;
-- The account that is shown as the public store; empty: none.
ALTER TABLE profile ADD COLUMN server_public_account TEXT;
-- The file with additional issuer certificates; empty: none.
ALTER TABLE profile ADD COLUMN server_tls_ca_file TEXT;
