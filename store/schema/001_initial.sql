-- The first form of a store. docs/store.md describes every table.
-- Identifiers are 16 random bytes that grow with time; times are 100-nanosecond intervals since 1601 UTC.

CREATE TABLE store (
  id           INTEGER PRIMARY KEY,
  guid         BLOB NOT NULL UNIQUE CHECK (length(guid) = 16),
  kind         INTEGER NOT NULL CHECK (kind IN (1, 2)),  -- 1 mailbox, 2 public
  display_name TEXT NOT NULL
) STRICT;

CREATE UNIQUE INDEX one_public_store ON store (kind) WHERE kind = 2;

CREATE TABLE profile (
  id                  INTEGER PRIMARY KEY,
  guid                BLOB NOT NULL UNIQUE CHECK (length(guid) = 16),
  name                TEXT NOT NULL UNIQUE COLLATE NOCASE CHECK (name <> ''),
  user_name           TEXT NOT NULL,
  password_salt       BLOB,
  password_iterations INTEGER,
  password_hash       BLOB,                 -- NULL: no password
  is_default          INTEGER NOT NULL CHECK (is_default IN (0, 1)),
  created             INTEGER NOT NULL,
  mailbox             INTEGER NOT NULL UNIQUE REFERENCES store (id)
) STRICT;

CREATE UNIQUE INDEX one_default_profile ON profile (is_default) WHERE is_default = 1;

-- The triggers below maintain the counts, so that listing folders never counts messages.
CREATE TABLE folder (
  id               INTEGER PRIMARY KEY,
  guid             BLOB NOT NULL UNIQUE CHECK (length(guid) = 16),
  store            INTEGER NOT NULL REFERENCES store (id) ON DELETE CASCADE,
  parent           INTEGER REFERENCES folder (id) DEFERRABLE INITIALLY DEFERRED,
  name             TEXT NOT NULL CHECK (parent IS NULL OR name <> ''),
  role             TEXT,                    -- what a standard folder is for, else NULL
  created          INTEGER NOT NULL,
  modified         INTEGER NOT NULL,
  message_count    INTEGER NOT NULL DEFAULT 0 CHECK (message_count >= 0),
  unread_count     INTEGER NOT NULL DEFAULT 0 CHECK (unread_count >= 0),
  associated_count INTEGER NOT NULL DEFAULT 0 CHECK (associated_count >= 0),
  UNIQUE (parent, name),
  UNIQUE (store, role)
) STRICT;

CREATE TABLE message (
  id               INTEGER PRIMARY KEY,
  guid             BLOB NOT NULL UNIQUE CHECK (length(guid) = 16),
  folder           INTEGER NOT NULL REFERENCES folder (id) ON DELETE CASCADE,
  associated       INTEGER NOT NULL CHECK (associated IN (0, 1)),
  is_read          INTEGER NOT NULL CHECK (is_read IN (0, 1)),
  size             INTEGER NOT NULL,        -- bytes of all values, attachments included
  attachment_count INTEGER NOT NULL,
  created          INTEGER NOT NULL,
  modified         INTEGER NOT NULL,
  search_key       BLOB NOT NULL CHECK (length(search_key) = 16),
  revision         INTEGER NOT NULL         -- grows with each save
) STRICT;

CREATE INDEX message_by_folder ON message (folder, associated);

CREATE TABLE attachment (
  message INTEGER NOT NULL REFERENCES message (id) ON DELETE CASCADE,
  number  INTEGER NOT NULL,
  size    INTEGER NOT NULL,                 -- bytes of its values
  PRIMARY KEY (message, number)
) STRICT, WITHOUT ROWID;

-- Long values. Up to 128 KiB they are in `data`, else in a file of that name in the folder beside the database.
CREATE TABLE content (
  id        INTEGER PRIMARY KEY,
  size      INTEGER NOT NULL,               -- bytes
  checksums BLOB NOT NULL,                  -- XXH64 of each 128 KiB, 8 bytes each, little-endian
  data      BLOB,
  file      TEXT,
  CHECK ((data IS NULL) <> (file IS NULL)),
  CHECK (data IS NULL OR length(data) = size)
) STRICT;

CREATE UNIQUE INDEX content_by_file ON content (file) WHERE file IS NOT NULL;

-- Properties of messages and their attachments: part 0 is the message, part n + 1 its attachment number n.
-- The encoding of `value` follows from `type`; a long value has `content` instead.
CREATE TABLE message_property (
  message INTEGER NOT NULL REFERENCES message (id) ON DELETE CASCADE,
  part    INTEGER NOT NULL,
  id      INTEGER NOT NULL,
  type    INTEGER NOT NULL,
  size    INTEGER NOT NULL,                 -- bytes; text counts two a UTF-16 code unit
  value   ANY,
  content INTEGER,                          -- content.id, owned by this property alone
  PRIMARY KEY (message, part, id)
) STRICT, WITHOUT ROWID;

CREATE TABLE folder_property (
  owner INTEGER NOT NULL REFERENCES folder (id) ON DELETE CASCADE,
  id    INTEGER NOT NULL,
  type  INTEGER NOT NULL,
  value ANY,
  PRIMARY KEY (owner, id)
) STRICT, WITHOUT ROWID;

CREATE TABLE store_property (
  owner INTEGER NOT NULL REFERENCES store (id) ON DELETE CASCADE,
  id    INTEGER NOT NULL,
  type  INTEGER NOT NULL,
  value ANY,
  PRIMARY KEY (owner, id)
) STRICT, WITHOUT ROWID;

CREATE TRIGGER message_added AFTER INSERT ON message BEGIN
  UPDATE folder SET message_count = message_count + (NOT new.associated),
                    unread_count = unread_count + (NOT new.associated AND NOT new.is_read),
                    associated_count = associated_count + new.associated
  WHERE id = new.folder;
END;

CREATE TRIGGER message_deleted AFTER DELETE ON message BEGIN
  UPDATE folder SET message_count = message_count - (NOT old.associated),
                    unread_count = unread_count - (NOT old.associated AND NOT old.is_read),
                    associated_count = associated_count - old.associated
  WHERE id = old.folder;
END;

CREATE TRIGGER message_moved AFTER UPDATE OF folder, is_read ON message
WHEN old.folder <> new.folder OR old.is_read <> new.is_read BEGIN
  UPDATE folder SET message_count = message_count - (NOT old.associated),
                    unread_count = unread_count - (NOT old.associated AND NOT old.is_read),
                    associated_count = associated_count - old.associated
  WHERE id = old.folder;
  UPDATE folder SET message_count = message_count + (NOT new.associated),
                    unread_count = unread_count + (NOT new.associated AND NOT new.is_read),
                    associated_count = associated_count + new.associated
  WHERE id = new.folder;
END;

CREATE TRIGGER attachment_deleted AFTER DELETE ON attachment BEGIN
  DELETE FROM message_property WHERE message = old.message AND part = old.number + 1;
END;

CREATE TRIGGER property_deleted AFTER DELETE ON message_property WHEN old.content IS NOT NULL BEGIN
  DELETE FROM content WHERE id = old.content;
END;
