-- Settings that belong to a database but are not copied with a template. Run in database postgres:
-- psql -v db=office -f 06_database_settings.sql
alter database :"db" set search_path = :"db", dbo, public;
alter database :"db" set datestyle = 'ISO, MDY';
