-- A sample practice: psql -d office -v patients=2000 -f sample.sql
\ir 80_sample_functions.sql
begin;
\ir 81_sample_people.sql
\ir 82_sample_charts.sql
\ir 83_sample_settings.sql
commit;
analyze;
