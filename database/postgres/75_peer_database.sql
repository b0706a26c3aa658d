-- The other database of the pair, as a schema of foreign tables with its name, so that `office.` and `laptop.`
-- are valid prefixes on both connections. Run as superuser when both databases have their tables:
-- psql -d office -v peer=laptop -v password=... -f 75_peer_database.sql
-- The server has no port on purpose: libpq takes PGPORT from the environment of the running cluster, so a copied
-- or moved cluster never reaches another one.
create extension postgres_fdw;

-- Comparisons read whole tables: few large fetches, and bulk inserts in batches.
create server peer foreign data wrapper postgres_fdw
    options (host '127.0.0.1', dbname :'peer', fetch_size '10000', batch_size '1000', use_remote_estimate 'true');

create user mapping for public server peer options (user 'quinmarkapp_user', password :'password');
grant usage on foreign server peer to quinmarkapp_user;

create schema :"peer" authorization quinmarkapp_user;
set session authorization quinmarkapp_user;
import foreign schema :"peer" from server peer into :"peer";
reset session authorization;
