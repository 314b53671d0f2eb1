-- From this version on a message has a checksum of its rows, and pages have none.

-- XXH64, see docs/store.md. NULL: an older program saved the message last; nothing is compared.
ALTER TABLE message ADD COLUMN checksum INTEGER;

-- A program that does not know checksums leaves NULL instead of a wrong one.
CREATE TRIGGER message_changed AFTER UPDATE OF revision ON message BEGIN
  UPDATE message SET checksum = NULL WHERE id = new.id;
END;

-- Files of deleted contents. They are kept as long as a reader may still see the row that named them.
CREATE TABLE dropped_file (
  name TEXT PRIMARY KEY,
  time INTEGER NOT NULL                     -- when the content was deleted
) STRICT, WITHOUT ROWID;

CREATE TRIGGER content_deleted AFTER DELETE ON content WHEN old.file IS NOT NULL BEGIN
  INSERT OR REPLACE INTO dropped_file (name, time)
  VALUES (old.file, (CAST(strftime('%s', 'now') AS INTEGER) + 11644473600) * 10000000);
END;
