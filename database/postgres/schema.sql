-- Everything one database of the pair holds of its own: psql -d office -f schema.sql, as superuser.
\ir 00_server_compat.sql
create schema :"DBNAME" authorization quinmarkapp_user;
-- The component drops and adds constraints, so its login owns the tables.
set session authorization quinmarkapp_user;
\ir 10_control.sql
\ir 20_replication_control.sql
\ir 30_replication_counts.sql
\ir 40_replication_conflict.sql
\ir 50_procedures.sql
\ir 60_practice_people.sql
\ir 61_practice_charts.sql
\ir 62_practice_settings.sql
\ir 70_functions.sql
reset session authorization;
