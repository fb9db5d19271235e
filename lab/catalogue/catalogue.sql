-- The catalogue of a lab recorder, format version 1.
--
-- PRAGMA application_id and user_version mark the file and its format version;
-- whoever opens it checks both and turns foreign keys on. Times are ms since
-- the epoch, sizes are MB. Insertion order (the primary key) is the order in
-- which every list is answered.

PRAGMA application_id = 0x53544c42;  -- "STLB"
PRAGMA user_version = 1;

-- One row: what holds for the whole recorder.
CREATE TABLE recorder (
  id          INTEGER PRIMARY KEY CHECK (id = 1),
  unit_mb     INTEGER NOT NULL CHECK (unit_mb >= 1),
  seed        INTEGER NOT NULL,
  made_ms     INTEGER NOT NULL
) STRICT;

-- A space's sizes are not stored: they are the sums of its volumes'.
CREATE TABLE space (
  id          INTEGER PRIMARY KEY,
  sid         TEXT    NOT NULL UNIQUE CHECK (length(sid) = 36),
  name        TEXT    NOT NULL,
  uuid        TEXT    NOT NULL UNIQUE CHECK (length(uuid) = 36),
  status      INTEGER NOT NULL DEFAULT 0,
  spare_state INTEGER NOT NULL DEFAULT 0
) STRICT;

-- A volume's total is its number of units, its used size the number of those
-- that the catalogue accounts for (see unit), times recorder.unit_mb.
CREATE TABLE volume (
  id         INTEGER PRIMARY KEY,
  space_id   INTEGER NOT NULL REFERENCES space (id),
  sid_number INTEGER NOT NULL,
  sid_text   TEXT    NOT NULL UNIQUE CHECK (length(sid_text) = 32),
  name       TEXT    NOT NULL,
  folder     TEXT    NOT NULL UNIQUE,   -- below share/; never changes
  type       INTEGER NOT NULL DEFAULT 0,
  state      INTEGER NOT NULL DEFAULT 0,
  volume_no  INTEGER NOT NULL UNIQUE
) STRICT;

CREATE TABLE channel (
  id     INTEGER PRIMARY KEY,
  number INTEGER NOT NULL UNIQUE CHECK (number >= 0),  -- 0-based
  sid    TEXT    NOT NULL UNIQUE CHECK (length(sid) = 32)
) STRICT;

-- Which channel records into which volume.
CREATE TABLE assignment (
  id         INTEGER PRIMARY KEY,
  channel_id INTEGER NOT NULL REFERENCES channel (id),
  volume_id  INTEGER NOT NULL REFERENCES volume (id),
  UNIQUE (channel_id, volume_id)
) STRICT;

-- One recorded period [start_ms, end_ms). Recording types: 4 normal, 1 alarm,
-- 2 manual (counted in totals only). An empty storage_id marks a period whose
-- recording cannot be attributed to a storage; otherwise it is the sid_text of
-- the volume that keeps it.
CREATE TABLE period (
  id             INTEGER PRIMARY KEY,
  channel_id     INTEGER NOT NULL REFERENCES channel (id),
  recording_type INTEGER NOT NULL CHECK (recording_type IN (1, 2, 4)),
  stream         INTEGER NOT NULL CHECK (stream BETWEEN 0 AND 4),
  start_ms       INTEGER NOT NULL,
  end_ms         INTEGER NOT NULL CHECK (end_ms > start_ms),
  storage_id     TEXT    NOT NULL CHECK (length(storage_id) IN (0, 32))
) STRICT;
CREATE INDEX period_by_stream ON period (channel_id, recording_type, stream, start_ms);

-- One unit file. Its name never changes, only its folder:
--   free       in preallocate
--   recording  in transit from preallocate into its hour folder, in either
--   recorded   in its hour folder
--   recycling  in transit back into preallocate, in either
--   bad        found in neither; not used until it is repaired
-- A unit in transit is one whose move has begun and must be finished: whatever
-- stopped it, the next writer brings the unit back into preallocate. Only when
-- all units of the new periods of a request are in place do they become recorded,
-- together with the periods.
--
-- A unit is accounted for while a period holds it and while it is in transit.
-- A recorded unit without a period is what a leak is made of.
CREATE TABLE unit (
  id             INTEGER PRIMARY KEY,
  volume_id      INTEGER NOT NULL REFERENCES volume (id),
  name           TEXT    NOT NULL,
  state          TEXT    NOT NULL DEFAULT 'free'
                 CHECK (state IN ('free', 'recording', 'recorded', 'recycling', 'bad')),
  channel_id     INTEGER REFERENCES channel (id),
  recording_type INTEGER CHECK (recording_type IN (1, 2, 4)),
  stream         INTEGER CHECK (stream BETWEEN 0 AND 4),
  hour_ms        INTEGER CHECK (hour_ms % 3600000 = 0),
  period_id      INTEGER REFERENCES period (id) ON DELETE SET NULL,
  UNIQUE (volume_id, name),
  CHECK ((state IN ('recording', 'recorded', 'recycling')) = (channel_id IS NOT NULL)),
  CHECK ((channel_id IS NULL) = (recording_type IS NULL)),
  CHECK ((channel_id IS NULL) = (stream IS NULL)),
  CHECK ((channel_id IS NULL) = (hour_ms IS NULL)),
  CHECK (period_id IS NULL OR state = 'recorded')
) STRICT;
CREATE INDEX unit_by_state ON unit (volume_id, state, period_id);
CREATE INDEX unit_by_period ON unit (period_id);
CREATE INDEX unit_by_stream ON unit (channel_id, recording_type, stream, hour_ms);
