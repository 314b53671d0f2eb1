-- From this version on lists of all types are stored, which an older program would consider damaged.

-- The names of property identifiers from 0x8000 on, shared by all stores of the file. An identifier is never given to
-- another name.
CREATE TABLE named_property (
  id   INTEGER PRIMARY KEY CHECK (id BETWEEN 32768 AND 65534),
  guid BLOB NOT NULL CHECK (length(guid) = 16),  -- the set of names
  kind INTEGER NOT NULL CHECK (kind IN (0, 1)),  -- 0: the name is a number, 1: a text
  name ANY NOT NULL CHECK (typeof(name) = CASE kind WHEN 0 THEN 'integer' ELSE 'text' END),
  UNIQUE (guid, kind, name)
) STRICT;

-- Bits that programs define for themselves (PR_MSG_STATUS); they change without a save and are not in the checksum.
ALTER TABLE message ADD COLUMN status INTEGER;
