-- The ledger of postgres-ledger, for PostgreSQL 15 or later. A superuser of the ledger's own database
-- installs it, again after an upgrade too; events and blocks stay.
--
-- Hosts are members of the role ledger_host and may execute ledger.append, nothing else; who reads or
-- verifies is a member of ledger_reader. Nobody logs in as ledger_owner.
BEGIN;
SET LOCAL client_min_messages = warning;
SET LOCAL search_path = pg_catalog, pg_temp;

DO $$
DECLARE
  name text;
BEGIN
  IF current_setting('server_encoding') <> 'UTF8' THEN
    RAISE EXCEPTION 'the ledger needs a database whose encoding is UTF8';
  END IF;
  FOREACH name IN ARRAY '{ledger_owner,ledger_host,ledger_reader}'::text[] LOOP
    IF NOT EXISTS (SELECT FROM pg_roles WHERE rolname = name) THEN
      EXECUTE format('CREATE ROLE %I NOLOGIN', name);
    END IF;
  END LOOP;
END $$;

CREATE SCHEMA IF NOT EXISTS ledger;
ALTER SCHEMA ledger OWNER TO ledger_owner;

-- A block and the end of its chain. Its row is the lock under which events get their places: it dies
-- with the transaction, and no two blocks share it.
CREATE TABLE IF NOT EXISTS ledger.block (
  block_no bigint GENERATED ALWAYS AS IDENTITY PRIMARY KEY,
  block_id text COLLATE "C" NOT NULL UNIQUE,
  sequence bigint NOT NULL DEFAULT 0,   -- of the last event
  head bytea NOT NULL,                  -- its hash, or sha256 of the block's id
  repeats bigint NOT NULL DEFAULT 0     -- events that came again
);

-- Bytes and not text: an event may end in zero bytes. The document is what people ask, null where
-- jsonb cannot hold the event. The hash is that of the previous row's hash, the sequence, the id's
-- length, the id and the event; it says nothing of the other columns.
CREATE TABLE IF NOT EXISTS ledger.event (
  block_no bigint NOT NULL,
  sequence bigint NOT NULL,
  event_id text COLLATE "C" NOT NULL,
  event bytea NOT NULL,
  hash bytea NOT NULL,
  appended_at timestamptz NOT NULL DEFAULT clock_timestamp(),
  appended_by text NOT NULL DEFAULT session_user,
  document jsonb,
  PRIMARY KEY (block_no, sequence),
  UNIQUE (block_no, event_id)
);

-- postgres-ledger verify has the same expression of its own, and trusts none that is kept here.
CREATE OR REPLACE FUNCTION ledger.link(previous bytea, sequence bigint, event_id text, event bytea)
RETURNS bytea LANGUAGE sql STABLE AS $$
  SELECT sha256(previous || int8send(sequence) || int4send(octet_length(event_id)) ||
                convert_to(event_id, 'UTF8') || event)
$$;

-- Null for what the judge takes and jsonb does not: zero characters, numbers and depths beyond it.
CREATE OR REPLACE FUNCTION ledger.document(event bytea) RETURNS jsonb LANGUAGE plpgsql STABLE
SET search_path = pg_catalog, pg_temp AS $$
BEGIN
  RETURN convert_from(event, 'UTF8')::jsonb;
EXCEPTION WHEN data_exception OR program_limit_exceeded THEN
  RETURN NULL;
END $$;

-- The only way in. The verdict of each event, in the order given: added; known, it is there already;
-- conflict, the id is there with other bytes; refused, an id that no index can hold. And the head of
-- the block, which counts once the transaction has committed.
CREATE OR REPLACE FUNCTION ledger.append(block text, ids text[], events bytea[],
  OUT verdicts text[], OUT sequence bigint, OUT head bytea)
LANGUAGE plpgsql SECURITY DEFINER
SET search_path = pg_catalog, pg_temp
SET lock_timeout = '30s' AS $$
DECLARE
  longest_id_bytes CONSTANT int := 1024;
  place ledger.block%ROWTYPE;
  stored bytea;
  item record;
  verdict text;
BEGIN
  -- What is told to be there must survive a crash, whatever role or database have set.
  IF current_setting('synchronous_commit') IN ('off', 'local') THEN
    PERFORM set_config('synchronous_commit', 'on', true);
  END IF;
  IF octet_length(block) > longest_id_bytes THEN
    verdicts := array_fill('refused'::text, ARRAY[cardinality(ids)]);
    RETURN;
  END IF;
  SELECT * INTO place FROM ledger.block b WHERE b.block_id = block FOR UPDATE;
  IF NOT FOUND THEN
    INSERT INTO ledger.block(block_id, head) VALUES (block, sha256(convert_to(block, 'UTF8')))
      ON CONFLICT (block_id) DO NOTHING;
    SELECT * INTO STRICT place FROM ledger.block b WHERE b.block_id = block FOR UPDATE;
  END IF;
  -- Lists of different lengths end in a null, which no column takes.
  FOR item IN SELECT u.id, u.event FROM unnest(ids, events) AS u(id, event) LOOP
    SELECT e.event INTO stored FROM ledger.event e
      WHERE e.block_no = place.block_no AND e.event_id = item.id;
    IF FOUND THEN
      verdict := CASE WHEN stored = item.event THEN 'known' ELSE 'conflict' END;
      place.repeats := place.repeats + 1;
    ELSIF octet_length(item.id) > longest_id_bytes THEN
      verdict := 'refused';
    ELSE
      verdict := 'added';
      place.sequence := place.sequence + 1;
      place.head := ledger.link(place.head, place.sequence, item.id, item.event);
      INSERT INTO ledger.event(block_no, sequence, event_id, event, hash, document) VALUES
        (place.block_no, place.sequence, item.id, item.event, place.head, ledger.document(item.event));
    END IF;
    verdicts := verdicts || verdict;
  END LOOP;
  -- Also where nothing is new: only a commit that has written waits for the standby, and an event that
  -- is visible here may not have reached it.
  UPDATE ledger.block b SET sequence = place.sequence, head = place.head, repeats = place.repeats
    WHERE b.block_no = place.block_no;
  sequence := place.sequence;
  head := place.head;
END $$;

-- For those whom no right stops.
CREATE OR REPLACE FUNCTION ledger.refuse_change() RETURNS trigger LANGUAGE plpgsql AS $$
BEGIN
  RAISE EXCEPTION 'the ledger is append-only';
END $$;
CREATE OR REPLACE TRIGGER append_only BEFORE UPDATE OR DELETE OR TRUNCATE ON ledger.event
  EXECUTE FUNCTION ledger.refuse_change();
CREATE OR REPLACE TRIGGER append_only BEFORE DELETE OR TRUNCATE ON ledger.block
  EXECUTE FUNCTION ledger.refuse_change();
CREATE OR REPLACE TRIGGER name_stays BEFORE UPDATE OF block_no, block_id ON ledger.block
  EXECUTE FUNCTION ledger.refuse_change();
ALTER TABLE ledger.event ENABLE ALWAYS TRIGGER append_only;
ALTER TABLE ledger.block ENABLE ALWAYS TRIGGER append_only, ENABLE ALWAYS TRIGGER name_stays;

DO $$
DECLARE
  object text;
BEGIN
  FOREACH object IN ARRAY '{block,event}'::text[] LOOP
    EXECUTE format('ALTER TABLE ledger.%I OWNER TO ledger_owner', object);
  END LOOP;
  FOR object IN SELECT oid::regprocedure::text FROM pg_proc WHERE pronamespace = 'ledger'::regnamespace LOOP
    EXECUTE 'ALTER FUNCTION ' || object || ' OWNER TO ledger_owner';
    EXECUTE 'REVOKE ALL ON FUNCTION ' || object || ' FROM PUBLIC';
  END LOOP;
END $$;
GRANT USAGE ON SCHEMA ledger TO ledger_host, ledger_reader;
GRANT EXECUTE ON FUNCTION ledger.append TO ledger_host;
GRANT SELECT ON ledger.block, ledger.event TO ledger_reader;
COMMIT;
