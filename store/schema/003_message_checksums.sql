-- From here on a message carries a checksum of its rows, and pages carry none.

-- XXH64, as docs/store.md describes it. NULL: an older program saved the message last, and nothing is compared.
ALTER TABLE message ADD COLUMN checksum INTEGER;

-- Who changes a message without knowing of checksums leaves none, rather than a wrong one.
CREATE TRIGGER message_changed AFTER UPDATE OF revision ON message BEGIN
  UPDATE message SET checksum = NULL WHERE id = new.id;
END;

-- Files whose content is deleted. They stay for as long as a reader may still see the row that named them.
CREATE TABLE dropped_file (
  name TEXT PRIMARY KEY,
  time INTEGER NOT NULL                     -- when the content was deleted
) STRICT, WITHOUT ROWID;

CREATE TRIGGER content_deleted AFTER DELETE ON content WHEN old.file IS NOT NULL BEGIN
  INSERT OR REPLACE INTO dropped_file (name, time)
  VALUES (old.file, (CAST(strftime('%s', 'now') AS INTEGER) + 11644473600) * 10000000);
END;
