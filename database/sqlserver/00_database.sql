-- One database of the pair, and the login on its server. Run for each, as an administrator:
-- sqlcmd -v Database=Office -v Password="..." -i 00_database.sql
-- With both on one server, the prefixes Office.dbo. and Laptop.dbo. are valid on both connections.
-- The name of the login is fixed in the component; it owns the databases because a run drops and adds FK_patient_dentist
-- and reads both from one connection.
create database $(Database);
go
if suser_id('quinmarkapp_user') is null
    create login quinmarkapp_user with password = '$(Password)', default_language = us_english;
go
use $(Database);
create user quinmarkapp_user for login quinmarkapp_user;
go
alter role db_owner add member quinmarkapp_user;
go
