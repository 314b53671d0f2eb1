-- From here on a profile's messages may be on a mail server, which an older program would not ask.

-- Where the server is. NULL: the messages are in this database, and the other columns are NULL, too.
ALTER TABLE profile ADD COLUMN server_url TEXT;
-- Who signs in; empty: the secret is a token.
ALTER TABLE profile ADD COLUMN server_user TEXT;
-- Password or token, under the system's data protection. Empty: none is kept.
ALTER TABLE profile ADD COLUMN server_secret BLOB;
-- The account that is shown as the public store; empty: none.
ALTER TABLE profile ADD COLUMN server_public_account TEXT;
-- The file with certificates of more issuers; empty: none.
ALTER TABLE profile ADD COLUMN server_tls_ca_file TEXT;
